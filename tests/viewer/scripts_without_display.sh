#!/usr/bin/env bash
# scripts_without_display.sh <source tree> <build tree>
# Where there is no display, run.sh leaves a picture of the window, and screenshots.sh one of every
# layout. With the viewer of the build tree, which run.sh brings up to date; nothing is installed.
set -euo pipefail
source=$1
build=$2
unset DISPLAY
mapfile -t groups < <(sed -n 's/.*install-packages.sh" //p' "$source/run.sh" | tr ' ' '\n')
missing=$("$source/scripts/install-packages.sh" --missing "${groups[@]}")
[ -z "$missing" ] || {
    echo "run.sh would install: $missing"
    exit 77
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
clip=$work/room.mkv
"$build/tools/fisheye-clip/fisheye-clip" --size 256 --seconds 0.2 -o "$clip"

fail() {
    echo "$*"
    exit 1
}
size_of() { ffprobe -v error -show_entries stream=width,height -of csv=p=0 "$1"; }

# A tree that has been built already, as on a second start.
mkdir "$work/tree" "$work/tree/build"
cp "$source/run.sh" "$work/tree"
ln -s "$source/scripts" "$work/tree/scripts"
ln -s "$build" "$work/tree/build/run"
"$work/tree/run.sh" "$clip"
[ "$(size_of "$work/tree/build/fisheye-demo.png")" = 1180,800 ] || fail "no picture of the window"
! "$work/tree/run.sh" "$work/nowhere.mkv" || fail "run.sh takes a file that is not there"
code=0
"$work/tree/run.sh" --what 2>"$work/usage" || code=$?
[ $code -eq 2 ] && grep -q 'run.sh FILE or URL' "$work/usage" || fail "run.sh does not tell its usage"

"$source/scripts/screenshots.sh" "$build" "$work/pictures" "$clip"
for layout in fisheye panorama+fisheye+4 half180; do  # the first, the longest and the last
    [ "$(size_of "$work/pictures/$layout.png")" = 1180,800 ] || fail "no picture of $layout"
done
# Neighbours in the order of their names are of different layouts, and look it; people walk, so two
# of one layout are not the same, but much alike.
before=
for picture in "$work/pictures"/*.png; do
    if [ -n "$before" ]; then
        likeness=$(ffmpeg -hide_banner -i "$before" -i "$picture" -lavfi ssim -f null - 2>&1 |
            sed -n 's/.* All:\([0-9.]*\).*/\1/p')
        awk -v likeness="$likeness" 'BEGIN { exit !(likeness > 0 && likeness < 0.8) }' ||
            fail "$before looks like $picture: $likeness"
    fi
    before=$picture
done
