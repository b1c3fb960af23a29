#!/usr/bin/env bash
# Takes a picture of the viewer's window in every layout, under Xvfb:
#   scripts/screenshots.sh BUILD-FOLDER OUT-FOLDER [SOURCE]
# BUILD-FOLDER holds the built viewer. SOURCE is a file or address; without one the room is filmed.
set -euo pipefail

[ $# -ge 2 ] && [ $# -le 3 ] || {
    sed -n '2,4s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
build=$1
out=$2
mkdir -p "$out"
source=${3:-$out/room.mkv}
[ $# -eq 3 ] || [ -f "$source" ] ||
    "$build/tools/fisheye-clip/fisheye-clip" --size 1440 --seconds 4 -o "$source"

# The list stands in the help text, so that it cannot be another one than the viewer's.
layouts=$("$build/viewer/fisheye-viewer" --help | tr '\n' ' ' | tr -s ' ' |
    sed -E 's/.*One of ([^.]*)\..*/\1/; s/, / /g')
for layout in $layouts; do
    echo "$layout"
    xvfb-run -a -s "-screen 0 1400x1000x24" "$build/viewer/fisheye-viewer" \
        --layout "$layout" --snapshot "$out/$layout.png" --after 3 "$source"
done
