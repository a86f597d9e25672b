#!/bin/sh
# The module exports the functions of the checked-in list and nothing else, and never touches the C library's
# random numbers.
#     exported_symbols.sh LIBRARY LIST
set -eu
library=$1
list=$2
actual=$(nm -D --defined-only -C "$library" | cut -d' ' -f3- | grep -v '^__odr_asan\|^__asan\|^__ubsan' | LC_ALL=C sort)
expected=$(LC_ALL=C sort "$list")
if [ "$actual" != "$expected" ]; then
    echo "exports differ from $list (< missing, > not listed):"
    printf '%s\n' "$expected" >"${TMPDIR:-/tmp}/expected.$$"
    printf '%s\n' "$actual" | diff "${TMPDIR:-/tmp}/expected.$$" - || true
    rm -f "${TMPDIR:-/tmp}/expected.$$"
    exit 1
fi
if nm -D --undefined-only "$library" | grep -E ' s?rand(@|$)'; then
    echo "the module uses the C library's random numbers; include core/generator.h"
    exit 1
fi
needed=$(LC_ALL=C readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -vE '^(libstdc\+\+|libgcc_s|libc|libm|ld-linux.*|libasan|libubsan|libtsan)\.so' || true)
if [ -n "$needed" ]; then
    echo "the module needs more than the C++ runtime: $needed"
    exit 1
fi
