# Sourced by the scripts beside it: the project's folder, and packages when needed.
# shellcheck shell=bash

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

# What a build of the daemon and the simulated device takes, and what they run.
BUILD_PACKAGES=(g++ cmake ninja-build nlohmann-json3-dev libcli11-dev libfmt-dev libutfcpp-dev libdtl-dev)
DEVICE_PACKAGES=(netcat-openbsd iproute2 python3)
TEST_PACKAGES=(libgtest-dev python3-pytest python3-clang-14 mandoc bash-completion zsh fish)
CHECK_PACKAGES=(clang clang-tidy clang-format libbenchmark-dev libclang-rt-14-dev gcovr shellcheck)
PEER_PACKAGES=(redis-server rsyslog)

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs those of the named packages that are missing; asks nothing.
need_packages() {
    local package missing=() as_root=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
            echo "Missing packages: ${missing[*]}" >&2
            echo "Run as root: apt-get install --no-install-recommends ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    say "installing ${missing[*]}"
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# configure PRESET [cmake option...]: configures build/PRESET.
configure() {
    local preset=$1
    shift
    mkdir -p build
    cmake --preset "$preset" "$@" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; return 1; }
}

# build PRESET [cmake option...]: configures and builds into build/PRESET.
build() {
    configure "$@"
    cmake --build --preset "$1" -- --quiet
}

# build_targets PRESET TARGET...: configures build/PRESET and builds some of it.
build_targets() {
    local preset=$1
    shift
    configure "$preset"
    cmake --build --preset "$preset" --target "$@" -- --quiet
}

# What a preset's compiler is; most take the one of BUILD_PACKAGES.
need_compiler() {
    case $1 in
        asan-ubsan | clang) need_packages clang libclang-rt-14-dev ;;
    esac
}
