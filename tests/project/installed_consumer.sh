#!/bin/sh
# Installs the built tree into a fresh folder and builds a small host against it, once through the CMake package
# and once through pkg-config.
set -eu
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
"$CMAKE" --install "$BUILD_DIR" --prefix "$tree/installed" >/dev/null
if [ -x "$tree/installed/bin/velmont" ] && [ -z "${TOOLCHAIN:-}" ]; then
    for written in man/man1/velmont.1 bash-completion/completions/velmont zsh/site-functions/_velmont; do
        [ -s "$tree/installed/share/$written" ] || { echo "share/$written is not installed" >&2; exit 1; }
    done
    "$tree/installed/bin/velmont" man | cmp - "$tree/installed/share/man/man1/velmont.1"
fi
sanitize=${SANITIZE:+-fsanitize=$SANITIZE}

if [ "${TOOLCHAIN:-}" ]; then
    "$CMAKE" -S "$SOURCE_DIR/tests/project/consumer" -B "$tree/build" -G "$GENERATOR" \
        -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" \
        -Dvelmont_DIR="$(dirname "$(find "$tree/installed" -name velmont-config.cmake)")" >/dev/null
    "$CMAKE" --build "$tree/build" >/dev/null
    cp "$tree/installed/bin/velmont.dll" "$tree/build"
    "$EMULATOR" "$tree/build/consumer.exe"
    exit 0
fi
"$CMAKE" -S "$SOURCE_DIR/tests/project/consumer" -B "$tree/build" -G "$GENERATOR" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_FLAGS="$sanitize" -DCMAKE_PREFIX_PATH="$tree/installed" >/dev/null
"$CMAKE" --build "$tree/build" >/dev/null
"$tree/build/consumer"

if ! command -v pkg-config >/dev/null; then
    echo "pkg-config is not installed: its file was not tried"
    exit 77
fi
PKG_CONFIG_PATH=$(dirname "$(find "$tree/installed" -name velmont.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$CXX" -std=c++17 $sanitize "$SOURCE_DIR/tests/project/consumer/consumer.cpp" \
    $(pkg-config --cflags --libs velmont) -Wl,-rpath,"$(pkg-config --variable=libdir velmont)" -o "$tree/by_pkg_config"
"$tree/by_pkg_config"
