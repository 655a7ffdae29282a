#!/bin/sh
# Says what is wrong with a build report, by its schema; nothing about a good one.
#     tests/program/check-report.sh FILE
here=$(dirname "$0")

# A suite whose numbers are not those of its cases, which no schema can tell.
wrong_suite='string(//testsuite[@tests != count(testcase) or @failures != count(testcase/failure)
    or @errors != count(testcase/error) or @skipped != count(testcase/skipped)]/@name)'

case "$1" in
*.json) /usr/bin/jsonschema --instance "$1" "$here/../../docs/build-report.schema.json" 2>&1 ;;
*)
    xmllint --noout --schema "$here/junit.xsd" "$1" 2>&1 | grep -v ' validates$'
    name=$(xmllint --xpath "$wrong_suite" "$1" 2>&1)
    [ -z "$name" ] || echo "wrong numbers of cases: $name"
    ;;
esac
exit 0
