#!/usr/bin/env bash
# Installs the packages named in the given lists that this machine lacks. Root, or sudo where there is one. A program of
# a package's name that is there from elsewhere will do: packages of other archives hold several of Debian's in one.
set -eu
missing=()
while read -r name; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || command -v "$name" >/dev/null || missing+=("$name")
done < <(cat "$@" | sed 's/#.*//' | awk 'NF { print $1 }')
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "these packages are missing and there is no sudo: ${missing[*]}" >&2; exit 1; }
    root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Two tries: a mirror that was being updated answers the second one.
for try in 1 2; do
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update >"$log" 2>&1 &&
        "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" >>"$log" 2>&1 && exit 0
done
tail -n 20 "$log" >&2
echo "the packages could not be installed: ${missing[*]}" >&2
exit 1
