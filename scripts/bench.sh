#!/usr/bin/env bash
# Builds the benchmarks, optimised, and runs them.
#   scripts/bench.sh [NAME] [ARGUMENT...]     manager or dewarp, both without a name; the arguments
#                                             go to the program
set -euo pipefail
cd "$(dirname "$0")/.."
names=(manager dewarp)
[ $# -eq 0 ] || { names=("$1"); shift; }

scripts/install-packages.sh manager engine dewarp clip bench
cmake --preset release -B build/bench -DFISHEYE_BUILD_BENCH=ON -DFISHEYE_BUILD_TESTS=OFF \
    -DFISHEYE_BUILD_VIEWER=OFF >/dev/null
for name in "${names[@]}"; do
    cmake --build build/bench --target "${name}_bench"
    LD_LIBRARY_PATH="$PWD/build/bench/bench/$name/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" \
        "build/bench/bench/$name/${name}_bench" "$@"
done
