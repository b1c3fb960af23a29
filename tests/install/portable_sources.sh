#!/usr/bin/env bash
# portable_sources.sh <project root>
# The manager library runs on every POSIX system with Qt 5 Core: its sources include the headers of
# its own tree, of the C++ library, of Qt, and these of POSIX, and ask for no system by name.
set -euo pipefail
cd "$1"
sources=(Common VideoPlayer_Vx VideoPlayer_FishEye)
grep -rhE '^ *# *include *<' "${sources[@]}" | grep -q . || {
    echo "no include found: wrong directory?" >&2
    exit 1
}
if grep -rnE '^ *# *include *<[^>]*\.h>' "${sources[@]}" |
    grep -vE '<(dlfcn|unistd|sys/stat)\.h>'; then
    echo "the lines above include headers that not every system has" >&2
    exit 1
fi
if grep -rnE '^ *# *(if|ifdef|ifndef|elif).*(__linux|__APPLE__|__GLIBC__|_GNU_SOURCE|Q_OS_)' \
    "${sources[@]}"; then
    echo "the lines above ask for a system by name" >&2
    exit 1
fi
