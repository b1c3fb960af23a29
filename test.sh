#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test:
#
#   ./test.sh             release, AddressSanitizer + UndefinedBehaviorSanitizer, ThreadSanitizer,
#                         and a short run of the fuzz targets
#   ./test.sh STEP...     only these: release, asan, tsan, fuzz, coverage
set -euo pipefail
cd "$(dirname "$0")"

say() { printf '\n== %s\n' "$*"; }

# run_preset PRESET [CTEST OPTION...]: the tests of one preset.
run_preset() {
    local preset=$1
    shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j"$(nproc)" "$@"
}

# How exact the pictures are does not depend on a sanitizer, and takes long under one. The thread
# sanitizer does not see how the encoders behind fisheye-clip and the Qt behind the viewer order
# what their own threads do: these are not built with it.
step_release() { run_preset release; }
step_asan() { run_preset asan -LE exact; }
step_tsan() { run_preset tsan -LE 'exact|viewer' -E '^fisheye_clip_test$'; }
step_fuzz() { scripts/fuzz.sh "${FUZZ_SECONDS:-20}"; }
step_coverage() { scripts/coverage.sh; }

steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(release asan tsan fuzz)
for step in "${steps[@]}"; do
    declare -F "step_$step" >/dev/null || {
        echo "test.sh: there is no step '$step'; see its first lines" >&2
        exit 2
    }
done

say "Packages"
scripts/install-packages.sh manager engine dewarp clip viewer tests viewer-tests fuzz docs
scripts/make-locale.sh
for step in "${steps[@]}"; do
    say "Step $step"
    "step_$step"
done
say "Every step passed: ${steps[*]}"
