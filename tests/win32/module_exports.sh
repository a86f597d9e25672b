#!/bin/sh
# velmont.dll exports the functions of the checked-in list, each under its C++ name and under the plain one of the
# table, and nothing else; and it needs the system's own DLLs only.
#     module_exports.sh MODULE LIST TABLE
set -eu
module=$1
list=$2
table=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export LC_ALL=C

headers=$("${OBJDUMP:-i686-w64-mingw32-objdump}" -p "$module")
printf '%s\n' "$headers" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^[[:space:]]*\[ *[0-9]*\] \(.*\)/\1/p' |
    sort >"$folder/exported"

rows() { sed -n 's/^| `\([^`]*\)` | `\([^`]*\)` | `\([^`]*\)` |$/'"$1"'/p' "$table"; }
rows '\1\n\2' | sort -u >"$folder/tabled"
if ! diff "$folder/tabled" "$folder/exported"; then
    echo "the module's exports differ from the table (< missing, > not in the table)"
    exit 1
fi
rows '\3' | sort >"$folder/functions"
if ! sort "$list" | diff - "$folder/functions"; then
    echo "the table differs from the list of exports (< missing in the table, > not in the list)"
    exit 1
fi
if [ "$(rows '\1' | sort | uniq -d)" ]; then
    echo "two functions have one plain name"
    exit 1
fi

# What comes with every Windows.
needed=$(printf '%s\n' "$headers" | sed -n 's/.*DLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort -u)
for library in $needed; do
    case $library in
    kernel32.dll | user32.dll | msvcrt.dll | advapi32.dll | shell32.dll) ;;
    *)
        echo "the module needs $library"
        exit 1
        ;;
    esac
done
