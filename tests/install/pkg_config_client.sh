#!/usr/bin/env bash
# pkg_config_client.sh <compiler> <installed library directory> <client.cpp>
# Builds and runs the client with what pkg-config says of the installed library.
set -euo pipefail
compiler=$1 libraries=$2 source=$3
export PKG_CONFIG_PATH=$libraries/pkgconfig

program=$(mktemp)
trap 'rm -f "$program"' EXIT
read -r -a flags < <(pkg-config --cflags --libs VideoPlayer_FishEye)
"$compiler" -std=c++17 "$source" -o "$program" "${flags[@]}"
LD_LIBRARY_PATH=$libraries${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} "$program"
