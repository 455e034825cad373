#!/usr/bin/env bash
# Puts the S3 server that tests upload to (s3rver, from npm) into build/tools, once. Usage: tools/s3server.sh; prints the
# program's path. Ends with 3 where npm or its registry can't be had.
set -eu
cd "$(dirname "$0")/.."
folder=$PWD/build/tools/s3rver-3.7.1
program=$folder/node_modules/.bin/s3rver
if [ ! -x "$program" ]; then
    command -v npm >/dev/null || { echo "tools/s3server.sh: there is no npm" >&2; exit 3; }
    half=$folder.$$
    trap 'rm -rf "$half"' EXIT
    mkdir -p "$half"
    timeout 120 npm install --prefix "$half" --no-audit --no-fund --silent s3rver@3.7.1 >&2 || {
        echo "tools/s3server.sh: s3rver can't be fetched from npm" >&2
        exit 3
    }
    mv -T "$half" "$folder" 2>/dev/null || [ -x "$program" ]
fi
echo "$program"
