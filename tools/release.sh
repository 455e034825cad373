#!/usr/bin/env bash
# Makes the folder that an update server serves: signed packages, the lists of them, and what the update check answers.
#   release.sh key KEYFILE                                     a key of your own, once; prints the public half
#   release.sh client KEYFILE FEED PLATFORM VERSION TREE       the client, from a tree laid by `cmake --install`
#   release.sh software KEYFILE FEED PLATFORM VERSION FOLDER ID [NAME]
#                                                              files that come into the client's folder
# PLATFORM is linux or windows. By the environment: MODE (list that software is offered on, else prod), TYPE=1 (a beta),
# FORCE=1, NOTES, ACTIONS (JSON list, such as '[{"cmd": "..."}, "restart app"]'), DAYS (a package and its list are good
# for so long, else 365), ALL=0 (the list isn't complete), VNPACK (the tool, else build/release/bin/vnpack).
# A client package replaces the answer of the update check; of a software package's versions the list keeps the newest
# one of each kind.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
pack=${VNPACK:-$here/build/release/bin/vnpack}
usage() { sed -n '2,12s/^# \{0,1\}//p' "$0" >&2; exit 2; }
[ $# -ge 2 ] || usage
act=$1 key=$2
if [ "$act" = key ]; then
  "$pack" key "$key"
  "$pack" public "$key"
  exit
fi
[ $# -ge 6 ] || usage
feed=$3 platform=$4 version=$5 folder=$(cd "$6" && pwd) id=${7:-VandrelQN}
case $act in client) [ $# = 6 ] || usage ;; software) [ $# -ge 7 ] || usage ;; *) usage ;; esac
case $platform in linux | windows) ;; *) usage ;; esac
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
expires=$(date -u -d "+${DAYS:-365} days" +%Y-%m-%dT%H:%M:%SZ)
package=packages/$platform/$id-$version.vnp
mkdir -p "$feed/packages/$platform" "$feed/feed/$platform"
python3 - "$act" "$platform" "$version" "$expires" "$id" >"$work/head.json" <<'EOF'
import json, os, sys
act, platform, version, expires, software = sys.argv[1:]
head = {'program': 'VandrelQN' if act == 'client' else 'software', 'platform': platform, 'version': version, 'expires': expires}
if act == 'software':
    head.update(softwareId=software, actions=json.loads(os.environ.get('ACTIONS', '[]')))
json.dump(head, sys.stdout)
EOF
keep=()
[ "$act" = client ] && keep=(--keep service.ini)
"$pack" package "$key" "$folder" "$work/package" "$work/head.json" ${keep[@]+"${keep[@]}"}
mv "$work/package" "$feed/$package"
if [ "$act" = client ]; then
  echo "$version" >"$feed/version.txt"
else
  list=$feed/feed/$platform/${MODE:-prod}
  python3 - "$list.json" "$platform" "${MODE:-prod}" "$expires" "$id" "${8:-$id}" "$version" "$package" "$feed/$package" >"$work/list.json" <<'EOF'
import json, os, sys
old, platform, mode, expires, software, name, version, package, file = sys.argv[1:]
try:
    with open(old, encoding='utf-8') as known:
        versions = json.load(known)['versions']
except FileNotFoundError:
    versions = []
env = os.environ.get
one = {'softwareId': software, 'name': name, 'version': version, 'versionType': int(env('TYPE', '0')), 'force': int(env('FORCE', '0')),
       'notes': env('NOTES', ''), 'size': os.path.getsize(file), 'package': package}
versions = [v for v in versions if (v['softwareId'], v['versionType']) != (software, one['versionType'])] + [one]
json.dump({'format': 1, 'program': 'feed', 'platform': platform, 'mode': mode, 'expires': expires, 'isAll': int(env('ALL', '1')),
           'versions': versions}, sys.stdout, ensure_ascii=False, indent=1)
EOF
  "$pack" sign "$key" "$work/list.json" "$work/list.sig"
  mv "$work/list.sig" "$list.sig"
  mv "$work/list.json" "$list.json"
fi
echo "$feed/$package"
