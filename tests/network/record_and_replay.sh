#!/bin/sh
# record_and_replay.sh AMBREL [OPTION...]: records a scan, and prints the dictionary that the script's replay
# delivers, provided that the scan delivered just the same, and the script tells how the sources fared.
set -e
ambrel=$1
shift
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$ambrel" record "$folder/script" "$@" >"$folder/recorded"
grep -q '^# services {' "$folder/script"
"$ambrel" replay --quiet "$folder/script" >"$folder/replayed"
cmp "$folder/recorded" "$folder/replayed" >&2
cat "$folder/replayed"
