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
    [viewer]="build-essential cmake ninja-build pkg-config qtbase5-dev libqt5svg5 libavformat-dev libavcodec-dev libavutil-dev libavdevice-dev libswscale-dev libxcb1-dev fonts-dejavu-core"
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
log=$(mktemp "${TMPDIR:-/tmp}/install-packages.XXXXXX.log")

# apt_get WHAT ARGUMENT...: says what it does, and lets a line of apt-get's through now and then.
apt_get() {
    echo "$1"
    shift
    local line next=0
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q "$@" 2>&1 | tee -a "$log" |
        while IFS= read -r line; do
            ((SECONDS < next)) || {
                echo "    ${line:0:100}"
                next=$((SECONDS + 5))
            }
        done || {
        tail -n 20 "$log" >&2
        echo "install-packages.sh: apt-get failed; all that it said is in $log" >&2
        exit 1
    }
}

apt_get "Reading the lists of packages (apt-get's words go to $log)" update
apt_get "Installing ${missing[*]}" install -y --no-install-recommends "${missing[@]}"
