#!/bin/sh
# Every C++ source looks as the checked-in .clang-format says.
set -eu
if ! command -v clang-format >/dev/null; then
    echo "clang-format is not installed"
    exit 77
fi
cd "$SOURCE_DIR"
find include src catalogue io tools tests fuzz bench samples -name '*.h' -o -name '*.cpp' |
    xargs clang-format --dry-run -Werror --style=file
