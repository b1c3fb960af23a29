#!/usr/bin/env bash
# Installs the Debian packages that the named groups need, and nothing that is there already.
#   scripts/install-packages.sh GROUP...
#   scripts/install-packages.sh --missing GROUP...    names them instead
set -euo pipefail

# One line for each group: what its part of the tree is built or run with.
declare -A packages=(
    [manager]="build-essential cmake ninja-build pkg-config qtbase5-dev"
    [engine]="build-essential cmake ninja-build pkg-config libavformat-dev libavcodec-dev libswscale-dev libavutil-dev libxcb1-dev libxcb-shm0-dev"
    [dewarp]="libhwy-dev"
    [clip]="build-essential cmake ninja-build pkg-config qtbase5-dev libavcodec-dev libavformat-dev libavutil-dev libswscale-dev"
    [tests]="xvfb xauth ffmpeg libgtest-dev libgmock-dev locales python3 git"
    [viewer]="build-essential cmake ninja-build pkg-config qtbase5-dev libavformat-dev libavcodec-dev libavutil-dev libavdevice-dev libxcb1-dev fonts-dejavu-core"
    [display]="xvfb xauth"
    [viewer-tests]="xvfb xauth libxcb-xtest0-dev libxcb1-dev python3 python3-gi gir1.2-gst-rtsp-server-1.0 gstreamer1.0-plugins-good gstreamer1.0-plugins-bad desktop-file-utils appstream man-db"
    [fuzz]="clang libclang-rt-14-dev"
    [docs]="doxygen"
    [coverage]="clang-19 llvm-19 libclang-rt-19-dev"
    [bench]="libbenchmark-dev libavfilter-dev libopencv-dev"
)

only_name=false
[ "${1:-}" != --missing ] || {
    only_name=true
    shift
}
wanted=()
for group in "$@"; do
    [ -n "${packages[$group]:-}" ] || {
        echo "install-packages.sh: no group '$group'; there are: ${!packages[*]}" >&2
        exit 2
    }
    read -r -a names <<<"${packages[$group]}"
    wanted+=("${names[@]}")
done

missing=()
for name in $(printf '%s\n' "${wanted[@]}" | sort -u); do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
done
[ ${#missing[@]} -gt 0 ] || exit 0
$only_name && {
    echo "${missing[*]}"
    exit 0
}

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
    --no-install-recommends "${missing[@]}" >/dev/null
