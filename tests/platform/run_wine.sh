#!/bin/sh
# Runs a Windows program under Wine in a prefix of its own, which is removed with everything that runs in it.
# Usage: run_wine.sh LOADER SERVER PROGRAM [WORDS...]
loader=$1; server=$2; shift 2
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vnwine.XXXXXX") || exit 1
WINEARCH=win64
WINEDEBUG=-all
# Names beyond ASCII need a locale that can hold them; a bare machine has none set.
LC_ALL=C.UTF-8
WINEDLLOVERRIDES="mscoree=;mshtml="   # no questions about optional parts at the first start
export WINEPREFIX WINEARCH WINEDEBUG WINEDLLOVERRIDES LC_ALL
unset DISPLAY WAYLAND_DISPLAY
finish()
{
    "$server" -k >/dev/null 2>&1
    "$server" -w >/dev/null 2>&1
    rm -rf "$WINEPREFIX"
}
trap finish EXIT
trap 'exit 130' INT TERM
"$loader" wineboot.exe --init >/dev/null 2>&1
"$loader" "$@"
