# Makes sure that the Debian packages that the project needs are there; sourced by ./demo and ./test with the
# packages as arguments. Without root, sudo or apt it says which ones to install and stops.

require_packages() {
    missing=
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    if ! command -v apt-get >/dev/null; then
        echo "These packages (their Debian names) are missing; install them and run this again:$missing" >&2
        exit 1
    fi
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        if ! sudo -n true 2>/dev/null; then
            echo "Packages are missing, and this user may not install them. Run: sudo apt-get install$missing" >&2
            exit 1
        fi
        as_root=sudo
    fi
    echo "Installing$missing"
    log=$(mktemp)
    # shellcheck disable=SC2086
    if ! { $as_root apt-get update && $as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        echo "The packages could not be installed. Run: apt-get update && apt-get install$missing" >&2
        rm -f "$log"
        exit 1
    fi
    rm -f "$log"
}

# What building the library and the tools takes.
build_packages="g++ cmake ninja-build libpng-dev libjpeg-dev libcli11-dev nlohmann-json3-dev"
# What the tests take besides.
test_packages="libgtest-dev libmpfr-dev pkg-config clang-format binutils"
