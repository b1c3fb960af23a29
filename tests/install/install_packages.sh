#!/usr/bin/env bash
# install_packages.sh <project root>
# scripts/install-packages.sh says what it installs, lets a line of apt-get's through, keeps the
# rest, and fails with the end of it where apt-get does. Every tool that it runs is a stand-in.
set -euo pipefail
script=$1/scripts/install-packages.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin"

tool() {
    printf '#!/bin/bash\n%s\n' "$2" >"$work/bin/$1"
    chmod +x "$work/bin/$1"
}
tool dpkg-query '[ "${!#}" != libhwy-dev ] && echo "install ok installed"'
tool sudo 'exec "$@"'
tool apt-get 'for i in $(seq 50); do echo "$* line $i"; done'
run() { PATH=$work/bin:$PATH TMPDIR=$work "$script" "$@" >"$work/said" 2>&1; }

fail() {
    echo "$1" >&2
    cat "$work/said" >&2
    exit 1
}

run manager
[ ! -s "$work/said" ] || fail "something is said though nothing is missing"

run manager dewarp
grep -q '^Reading the lists of packages' "$work/said" || fail "the first step is not said"
grep -q '^Installing libhwy-dev$' "$work/said" || fail "what is installed is not said"
grep -q '^    .*update line 1$' "$work/said" || fail "no line of apt-get's comes through"
[ "$(wc -l <"$work/said")" -lt 10 ] || fail "all of apt-get's lines come through"
[ "$(cat "$work"/install-packages.*.log | wc -l)" -eq 100 ] || fail "the log has not every line"

tool apt-get 'echo "no such server"; exit 100'
! run dewarp || fail "a failure passes"
grep -q '^no such server$' "$work/said" || fail "the reason is not said"
