#!/bin/sh
# Says what is wrong with build reports, by their schemas; nothing about good ones.
#     tests/program/check-report.sh FOLDER
here=$(cd "$(dirname "$0")" && pwd)
cd "$1"

# A suite whose numbers are not those of its cases, which no schema can tell.
wrong_suite='string(//testsuite[@tests != count(testcase) or @failures != count(testcase/failure)
    or @errors != count(testcase/error) or @skipped != count(testcase/skipped)]/@name)'

set -- *.json
[ ! -f "$1" ] || printf -- '--instance\0%s\0' "$@" |
    xargs -0 /usr/bin/jsonschema --output pretty "$here/../../docs/build-report.schema.json" 2>&1 |
    grep -v '^===\[SUCCESS\]'
set -- *.xml
[ ! -f "$1" ] || xmllint --noout --schema "$here/junit.xsd" "$@" 2>&1 | grep -v ' validates$'
for file in "$@"; do
    [ ! -f "$file" ] || name=$(xmllint --xpath "$wrong_suite" "$file" 2>&1)
    [ -z "$name" ] || echo "$file: wrong numbers of cases: $name"
done
exit 0
