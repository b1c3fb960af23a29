#!/usr/bin/env bash
# Builds the benchmarks, optimised, and runs them.
#   scripts/bench.sh [NAME] [ARGUMENT...]     manager, dewarp or engine, all without a name; the
#                                             arguments go to the program
set -euo pipefail
cd "$(dirname "$0")/.."
names=(manager dewarp engine)
[ $# -eq 0 ] || { names=("$1"); shift; }

scripts/install-packages.sh manager engine dewarp clip tests bench
cmake --preset release -B build/bench -DFISHEYE_BUILD_BENCH=ON -DFISHEYE_BUILD_VIEWER=OFF >/dev/null
for name in "${names[@]}"; do
    cmake --build build/bench --target "${name}_bench"
    # The manager's libraries are its own; the engine is the tree's.
    LD_LIBRARY_PATH="$PWD/build/bench/bench/$name/lib:$PWD/build/bench/engine${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
        "build/bench/bench/$name/${name}_bench" "$@"
done
