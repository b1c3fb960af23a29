#!/usr/bin/env bash
# Opens the viewer: installs what is missing, builds, and shows a fisheye camera as fisheye picture
# and eight corrected views. Without a display it leaves a picture of the window instead,
# build/fisheye-demo.png.
#
#   ./run.sh                a synthetic room, filmed on the first start
#   ./run.sh FILE or URL    a video file, an rtsp://, http:// or udp:// address, a /dev/video device
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

say() { printf '== %s\n' "$*"; }

if [ $# -gt 1 ] || [[ ${1:-} == -* ]]; then
    sed -n '2,7s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi

say "Packages"
"$here/scripts/install-packages.sh" manager engine dewarp clip viewer

# A tree of its own, so that no start waits for the tests' programs.
build=$here/build/run
if [ -x "$build/viewer/fisheye-viewer" ]; then
    say "Building what has changed, in build/run"
else
    say "Building in build/run: some minutes, once"
fi
[ -f "$build/build.ninja" ] ||
    cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DFISHEYE_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target fisheye-viewer fisheye-clip

source=${1:-$build/room.mkv}
if [ $# -eq 0 ] && [ ! -f "$source" ]; then
    say "Filming the room (under a minute, once)"
    "$build/tools/fisheye-clip/fisheye-clip" --size 1440 --seconds 8 -o "$build/room.part.mkv"
    mv "$build/room.part.mkv" "$source"
fi

viewer=("$build/viewer/fisheye-viewer" --layout fisheye+8 --overlay traced)
say "The viewer; F1 tells its keys and gestures"
code=0
"${viewer[@]}" "$source" || code=$?
[ "$code" -eq 3 ] || exit "$code" # 3: there is no display, or what DISPLAY names is gone
"$here/scripts/install-packages.sh" display
say "No display: the viewer runs under Xvfb"
xvfb-run -a -s "-screen 0 1400x1000x24" \
    "${viewer[@]}" --snapshot "$here/build/fisheye-demo.png" --after 2 "$source"
say "A picture of its window is in build/fisheye-demo.png"
