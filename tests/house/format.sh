#!/usr/bin/env bash
# Every source stands in the house's format. Usage: format.sh ROOT
set -eu
cd "$1"
find src farm companions bench fuzz tests \( -name '*.cpp' -o -name '*.h' \) -print0 |
    xargs -0 "${CLANG_FORMAT:-clang-format}" --dry-run -Werror
