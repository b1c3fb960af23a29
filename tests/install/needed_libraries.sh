#!/usr/bin/env bash
# needed_libraries.sh <readelf> <library>
# The manager library links Qt 5 Core and the libraries of the C++ and C languages, nothing else.
set -euo pipefail
needed=$("$1" -d "$2" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
grep -q '^libQt5Core\.so' <<<"$needed"
if grep -vE '^(libQt5Core|libstdc\+\+|libc\+\+|libc\+\+abi|libgcc_s|libc|libm|libdl|libpthread|ld-linux.*)\.so' \
    <<<"$needed"; then
    echo "the library needs the libraries above" >&2
    exit 1
fi
