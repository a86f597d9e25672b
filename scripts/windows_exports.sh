#!/bin/sh
# Writes docs/windows_exports.md, the table that the Windows module's exports are made from, to standard output.
#     windows_exports.sh LIBRARY      a libvelmont.so of the same sources
set -eu
cat <<'HEAD'
# Exports of the Windows module

`velmont.dll` exports each function twice: under the name that g++ gives it, for programs that are linked with the
import library `libvelmont.dll.a`, and under a plain one for hosts built by other compilers, which ask
`GetProcAddress` for it. Both are the same function, and all are `__cdecl`. An overload's plain name ends in the number
of its arguments. Functions with C linkage have the plain name only.

Records and their fields are in the headers of [include/velmont](../include/velmont); `unsigned long` and `long` have 32
bits in this module.

The build makes `velmont.def` from this table, which `scripts/windows_exports.sh` writes.

| Plain name | Name in C++ | Function |
| --- | --- | --- |
HEAD
nm -D --defined-only "$1" | awk '{ print $3 }' | grep -v '^__odr_asan\|^_*asan\|^_*ubsan' | while read -r name; do
    printf '%s\t%s\n' "$name" "$(c++filt "$name")"
done | awk -F'\t' '
    # Commas outside inner parentheses part the arguments.
    function arguments(signature,    i, depth, count, letter) {
        depth = 0
        count = signature ~ /\(\)$/ ? 0 : 1
        for (i = 1; i <= length(signature); ++i) {
            letter = substr(signature, i, 1)
            depth += (letter == "(") - (letter == ")")
            count += letter == "," && depth == 1
        }
        return count
    }
    {
        ++lines
        name[lines] = $1
        signature[lines] = $2
        plain[lines] = $2
        sub(/\(.*/, "", plain[lines])
        ++overloads[plain[lines]]
    }
    END {
        for (i = 1; i <= lines; ++i) {
            suffix = overloads[plain[i]] > 1 ? "_" arguments(signature[i]) : ""
            printf "| `%s` | `%s` | `%s` |\n", plain[i] suffix, name[i], signature[i]
        }
    }' | LC_ALL=C sort
