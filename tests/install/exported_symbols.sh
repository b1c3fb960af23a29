#!/usr/bin/env bash
# exported_symbols.sh <nm> <library> <list>
# Compares the exported symbols with the list: demangled, whatever their kind, each name once. To
# accept a change, write the new list:
#   nm -DC --defined-only <library> | cut -d' ' -f3- | LC_ALL=C sort -u
set -euo pipefail
nm=$1 library=$2 list=$3
diff -u --label "$(basename "$list")" --label "$(basename "$library")" \
    "$list" <("$nm" -DC --defined-only "$library" | cut -d' ' -f3- | LC_ALL=C sort -u)
