#!/usr/bin/env bash
# installed_viewer.sh <installed program directory>
# The installed viewer finds the manager library, the engine and the correction library by itself,
# and the clip maker stands beside it.
set -euo pipefail
programs=$1
command -v xvfb-run >/dev/null || {
    echo "xvfb-run is not installed: scripts/install-packages.sh viewer-tests"
    exit 77
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$programs/fisheye-clip" --size 256 --seconds 0.2 -o "$work/room.mkv"
env -u LD_LIBRARY_PATH xvfb-run -a -s "-screen 0 1400x1000x24" \
    "$programs/fisheye-viewer" --snapshot "$work/window.png" --after 0 "$work/room.mkv"
[ -s "$work/window.png" ]
