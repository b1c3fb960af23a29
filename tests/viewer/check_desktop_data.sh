#!/usr/bin/env bash
# What desktops and manuals are told of the viewer: check_desktop_data.sh TREE VIEWER VERSION
set -euo pipefail
data=$1/viewer/data
page=$1/docs/fisheye-viewer.1
viewer=$2

for tool in desktop-file-validate appstreamcli man; do
    command -v "$tool" >/dev/null || {
        echo "$tool is not installed: scripts/install-packages.sh viewer-tests"
        exit 77
    }
done

desktop-file-validate "$data/fisheye-viewer.desktop"
appstreamcli validate --no-net "$data/org.videoplayer_fisheye.viewer.metainfo.xml"
for manual in "$page" "$1/docs/fisheye-clip.1"; do
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$manual" 2>&1 >/dev/null)
    [ -z "$warnings" ] || {
        echo "$warnings"
        exit 1
    }
done

# Every option of the program, and no other, is in the manual.
told=$("$viewer" --help | grep -oE -- '--[a-z]+' | sort -u)
written=$(sed 's/\\-/-/g' "$page" | grep -oE '^\.B[IR] .*--[a-z]+' | grep -oE -- '--[a-z]+' | sort -u)
diff <(echo "$told") <(echo "$written")

[ "$("$viewer" --version)" = "fisheye-viewer $3" ]
for words in "--layout nonsense" "--mount shelf" "--overlay dotted" "--after never" "--unknown"; do
    code=0
    # shellcheck disable=SC2086
    "$viewer" $words 2>/dev/null || code=$?
    [ $code -eq 2 ] || {
        echo "'$words' leaves with $code"
        exit 1
    }
done
code=0
"$viewer" --lens /nowhere.yml 2>/dev/null || code=$?
[ $code -eq 1 ]
code=0
env -u DISPLAY "$viewer" 2>/dev/null || code=$?
[ $code -eq 3 ]
code=0
said=$(DISPLAY=:4711 "$viewer" 2>&1) || code=$?
[ $code -eq 3 ]
[[ $said == *":4711 does not answer"* ]]
