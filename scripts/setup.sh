#!/usr/bin/env bash
# usage: setup.sh [PACKAGE...]
#
# Installs the Debian packages that are needed to build, run and test, and those named. Does nothing,
# and needs no rights, when all of them are there.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode

packages=(
  "$@"
  # Build
  cmake ninja-build ccache
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  clang-19 lld-19
  # Check
  clang-format-19 clang-tidy-19 gcovr python3 pkgconf
  # Run
  wine wine64 xvfb xdotool
  # Package
  wixl msitools zip
  # The sample in C#
  mono-mcs mono-runtime
  # Libraries of the tests and tools
  googletest libcli11-dev nlohmann-json3-dev
)
# Any Node.js will do, wherever it comes from.
command -v node >/dev/null || packages+=(nodejs)
# It fetches Node.js for Windows; see fetch_node.sh.
command -v npm >/dev/null || packages+=(npm)

is_installed() {
  [[ $(dpkg-query -W -f '${db:Status-Abbrev}' "$1" 2>/dev/null) == ?i* ]]
}

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

step "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() {
  "$@" >"$log" 2>&1 </dev/null || {
    cat "$log" >&2
    fail "cannot: $*"
  }
}
quietly as_root apt-get -q update
quietly as_root env DEBIAN_FRONTEND=noninteractive \
  apt-get -q -y --no-install-recommends install "${missing[@]}"
