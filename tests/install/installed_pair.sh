#!/usr/bin/env bash
# installed_pair.sh <compiler> <installed library directory> <LoaderClient.cpp>
# The installed engine and correction library are found by a client of the installed manager library:
# through its own DT_RPATH, through LD_LIBRARY_PATH, and where ldconfig keeps the directory.
set -euo pipefail
compiler=$1 libraries=$2 source=$3
export PKG_CONFIG_PATH=$libraries/pkgconfig

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
read -r -a flags < <(pkg-config --cflags --libs VideoPlayer_FishEye)

"$compiler" -std=c++17 -c "$source" -o "$work/client.o" "${flags[@]}"

echo "through DT_RPATH:"
"$compiler" "$work/client.o" -o "$work/client" "${flags[@]}" -ldl \
    "-Wl,-rpath,$libraries,--disable-new-dtags"
env -u LD_LIBRARY_PATH "$work/client" "$libraries" "$libraries"

echo "through LD_LIBRARY_PATH:"
"$compiler" "$work/client.o" -o "$work/client" "${flags[@]}" -ldl
LD_LIBRARY_PATH=$libraries "$work/client" "$libraries" "$libraries"

# A cache of its own, of this directory alone. What the loader looks up in it are these very names.
echo "through ldconfig's cache:"
PATH=$PATH:/usr/sbin:/sbin
ldconfig -C "$work/cache" -f /dev/null "$libraries" 2>/dev/null
cached=$(ldconfig -p -C "$work/cache")
for name in libplaysdk.dylib vx_algo_fcu.dylib; do
    grep -F "$name " <<<"$cached" | grep -F "=> $libraries/$name"
done
