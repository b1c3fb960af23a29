#!/usr/bin/env bash
# installed_viewer.sh <installed program directory>
# The installed viewer finds the manager library, the engine and the correction library by itself,
# and the clip maker stands beside it. The display here ends with its last client: one that is let
# go of while the viewer starts is lost.
set -euo pipefail
programs=$1
command -v Xvfb >/dev/null || {
    echo "Xvfb is not installed: scripts/install-packages.sh viewer-tests"
    exit 77
}

work=$(mktemp -d)
"$programs/fisheye-clip" --size 256 --seconds 0.2 -o "$work/room.mkv"
exec {display}< <(exec Xvfb -displayfd 1 -terminate -screen 0 1400x1000x24 2>"$work/display")
trap 'kill $! 2>/dev/null || true; rm -rf "$work"' EXIT
read -r number <&"$display"
env -u LD_LIBRARY_PATH DISPLAY=":$number" \
    "$programs/fisheye-viewer" --snapshot "$work/window.png" --after 0 "$work/room.mkv"
[ -s "$work/window.png" ]
