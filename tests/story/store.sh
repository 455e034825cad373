#!/usr/bin/env bash
# The story of the object store; ends with 3 where its S3 server can't be had. Usage: store.sh FOLDER_OF_PROGRAMS
here=$(dirname "$0")
server=$("$here/../../tools/s3server.sh") || exit
exec python3 "$here/store.py" "$1" "$server"
