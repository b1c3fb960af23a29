#!/usr/bin/env bash
# Builds the manager library with clang 19's source-based coverage, runs its tests and prints lines,
# branches and MC/DC of its three source folders. Fails below 100 % of any.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh manager tests coverage
scripts/make-locale.sh
build=build/coverage
cmake --preset coverage -DFISHEYE_BUILD_ENGINE=OFF -DFISHEYE_BUILD_VIEWER=OFF >/dev/null
cmake --build --preset coverage
rm -rf "$build/profiles"
mkdir -p "$build/profiles"
LLVM_PROFILE_FILE="$PWD/$build/profiles/%p-%m.profraw" \
    ctest --test-dir "$build" --output-on-failure --no-tests=error -j"$(nproc)"
find "$build/profiles" -name '*.profraw' >"$build/profiles/list"
llvm-profdata-19 merge -sparse -f "$build/profiles/list" -o "$build/manager.profdata"
for format in text lcov; do
    llvm-cov-19 export -format="$format" "$build/libVideoPlayer_FishEye.so" \
        -instr-profile="$build/manager.profdata" >"$build/coverage.$format"
done
python3 scripts/coverage_report.py "$build/coverage.text" "$build/coverage.lcov" \
    Common VideoPlayer_Vx VideoPlayer_FishEye
