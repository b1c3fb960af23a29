#!/usr/bin/env bash
# Builds the fuzz targets and runs each for some seconds. What they find interesting is kept in
# build/fuzz/corpus for the next run; an input that fails is left in build/fuzz/artifacts.
#   scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
scripts/install-packages.sh manager engine dewarp clip fuzz
cmake --preset fuzz -DFISHEYE_BUILD_VIEWER=OFF
cmake --build --preset fuzz --target fuzzers

fakes=$PWD/build/fuzz/tests/fakes
export LD_LIBRARY_PATH="$fakes/engine:$fakes/algorithm${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
# The clips of the engine's target come from an encoder that keeps some of its own tables.
export LSAN_OPTIONS="suppressions=$PWD/tests/clip/lsan.supp:print_suppressions=0"
mkdir -p build/fuzz/artifacts
for program in build/fuzz/fuzz/fuzz_${2:-*}; do
    [ -f "$program" ] && [ -x "$program" ] || continue
    name=$(basename "$program")
    mkdir -p "build/fuzz/corpus/$name"
    echo "$name"
    "$program" -max_total_time="$seconds" -timeout=60 -max_len=16384 -len_control=0 \
        -artifact_prefix="build/fuzz/artifacts/$name-" -print_final_stats=1 -verbosity=0 \
        "build/fuzz/corpus/$name"
done
