#!/usr/bin/env bash
# Puts the validator of OpenAPI texts (from npm) into build/tools, once. Usage: tools/openapi-validator.sh; prints its
# program's path. Ends with 3 where npm or its registry can't be had.
set -eu
cd "$(dirname "$0")/.."
folder=$PWD/build/tools/openapi-schema-validator-2.8.0
program=$folder/node_modules/.bin/validate-api
if [ ! -x "$program" ]; then
    command -v npm >/dev/null || { echo "tools/openapi-validator.sh: there is no npm" >&2; exit 3; }
    half=$folder.$$
    trap 'rm -rf "$half"' EXIT
    mkdir -p "$half"
    timeout 120 npm install --prefix "$half" --no-audit --no-fund --silent @seriousme/openapi-schema-validator@2.8.0 >&2 || {
        echo "tools/openapi-validator.sh: the validator can't be fetched from npm" >&2
        exit 3
    }
    mv -T "$half" "$folder" 2>/dev/null || [ -x "$program" ]
fi
echo "$program"
