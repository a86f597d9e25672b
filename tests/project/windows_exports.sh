#!/bin/sh
# The table of the Windows module's exports is the one that its script writes for this library.
#     windows_exports.sh LIBRARY
set -eu
"$SOURCE_DIR/scripts/windows_exports.sh" "$1" | diff - "$SOURCE_DIR/docs/windows_exports.md" || {
    echo "write it again: scripts/windows_exports.sh $1 >docs/windows_exports.md"
    exit 1
}
