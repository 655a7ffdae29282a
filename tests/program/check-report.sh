#!/bin/sh
# Says what is wrong with a build report, by its schema; nothing about a good one.
#     tests/program/check-report.sh FILE
here=$(dirname "$0")
case "$1" in
*.json) /usr/bin/jsonschema --instance "$1" "$here/../../docs/build-report.schema.json" 2>&1 ;;
*) xmllint --noout --schema "$here/junit.xsd" "$1" 2>&1 | grep -v ' validates$' ;;
esac
exit 0
