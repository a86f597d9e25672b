#!/bin/sh
# No object of the library, the catalogue or the tests reckons with the x87 unit, whose precision a host may change.
# Loads and stores stay there, and so does the conversion of 64-bit integers, which loads one and, where its highest
# bit is set, adds 2^64: that rounds once, as it should.
#     sse_arithmetic.sh BUILD_FOLDER
set -eu
found=$(find "$1/src" "$1/catalogue" "$1/tests" -name '*.obj' -print | while read -r object; do
    "${OBJDUMP:-i686-w64-mingw32-objdump}" -d --no-show-raw-insn "$object" | awk -v object="$object" '
        /^[ 0-9a-f]+:\tf/ {
            reckons = $2 ~ /^f(i?add|i?subr?|i?mul|i?divr?|sqrt|sin|cos|sincos|ptan|patan|yl2x|yl2xp1|2xm1|scale|prem1?)[slp]?$/
            if (reckons && !(converts && $2 ~ /^fadds?$/))
                print object ": " $0
            converts = converts || $2 == "fildll"
        }'
done)
if [ -n "$found" ]; then
    printf '%s\n' "$found" | head -n 20
    echo "these instructions work on the x87 unit"
    exit 1
fi
