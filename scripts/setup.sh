# Makes sure that the Debian packages that the project needs are there; sourced by ./demo and ./test with the
# packages as arguments. Without root, sudo or apt it says which ones to install and stops.

missing_of() {
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || printf ' %s' "$package"
    done
}

# Sets as_root to what makes this user root, or stops.
require_root() {
    as_root=
    [ "$(id -u)" -ne 0 ] || return 0
    if ! sudo -n true 2>/dev/null; then
        echo "Packages are missing, and this user may not install them. Run: sudo $*" >&2
        exit 1
    fi
    as_root=sudo
}

# Runs a command as root, shows the end of what it says if it fails, and stops then.
run_as_root() {
    log=$(mktemp)
    if ! $as_root env DEBIAN_FRONTEND=noninteractive "$@" >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        rm -f "$log"
        echo "This failed: $*" >&2
        exit 1
    fi
    rm -f "$log"
}

require_packages() {
    missing=$(missing_of "$@")
    [ -n "$missing" ] || return 0
    if ! command -v apt-get >/dev/null; then
        echo "These packages (their Debian names) are missing; install them and run this again:$missing" >&2
        exit 1
    fi
    require_root "apt-get install$missing"
    echo "Installing$missing"
    run_as_root apt-get update
    # shellcheck disable=SC2086
    run_as_root apt-get install -y --no-install-recommends $missing
}

# Wine for 32-bit programs. Its libraries come from another architecture, and both must have one version: those of the
# release itself, where later ones are there for one of the two only.
require_wine() {
    missing=$(missing_of "$@")
    [ -n "$missing" ] || return 0
    release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    if ! command -v apt-get >/dev/null || [ -z "$release" ]; then
        echo "These packages (their Debian names) are missing; install them and run this again:$missing" >&2
        exit 1
    fi
    require_root "dpkg --add-architecture i386; apt-get install$missing"
    echo "Installing$missing"
    run_as_root dpkg --add-architecture i386
    run_as_root apt-get update
    # shellcheck disable=SC2086
    run_as_root apt-get install -y --no-install-recommends -t "$release" --allow-downgrades $missing
}

# Makes a Windows of the build's own, with a screen that nobody sees, for as long as this script runs.
start_windows() {
    WINEPREFIX=$PWD/build/wine
    WINEARCH=win32
    WINEDEBUG=-all
    WINEDLLOVERRIDES="mscoree=;mshtml="
    export WINEPREFIX WINEARCH WINEDEBUG WINEDLLOVERRIDES
    mkdir -p "$WINEPREFIX"
    screen=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$screen" 2>/dev/null &
    screen_id=$!
    trap 'wineserver -k 2>/dev/null || true; kill "$screen_id" 2>/dev/null || true; rm -f "$screen"' EXIT
    waited=0
    until [ -s "$screen" ]; do
        waited=$((waited + 1))
        if [ "$waited" -gt 100 ]; then
            echo "Xvfb does not start" >&2
            exit 1
        fi
        sleep 0.1
    done
    DISPLAY=:$(cat "$screen")
    export DISPLAY
    wineboot --init >/dev/null 2>&1
}

# What building the library and the tools takes.
build_packages="g++ cmake ninja-build pkg-config libpng-dev libjpeg-dev libtiff-dev libwebp-dev libcli11-dev nlohmann-json3-dev"
# What the tests take besides.
test_packages="libgtest-dev libmpfr-dev clang-format binutils imagemagick groff-base zsh"
# What the Windows module and its tests take.
windows_build_packages="g++-mingw-w64-i686-posix cmake ninja-build googletest"
wine_packages="wine wine32:i386 xvfb"
