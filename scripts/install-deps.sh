#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need,
# and those of the groups named.
# Usage: scripts/install-deps.sh [group...]
#   docs: Doxygen, for the API reference (scripts/docs.sh).
#   package: dpkg-dev and file, for the Debian packages (cpack), and
#   pkg-config, for building against the installed .pc files
#   (scripts/check-install.sh).
#   test: what the full test run needs beyond the build: the docs and package
#   groups, libupnp for the interoperability tests, iproute2 for the
#   dead-host tests, clang for the asan preset and its fuzz targets.
# Quick when everything is present: apt is only asked for what is missing.
set -euo pipefail

packages=(
  cmake g++ ninja-build
  libgtest-dev libgmock-dev
  libbenchmark-dev
  libexpat1-dev
  libboost-dev
)
docs=(doxygen)
packaging=(dpkg-dev file pkg-config)
test=("${docs[@]}" "${packaging[@]}" libupnp-dev iproute2 clang-14 libclang-rt-14-dev)
for group in "$@"; do
  case $group in
    docs) packages+=("${docs[@]}") ;;
    package) packages+=("${packaging[@]}") ;;
    test) packages+=("${test[@]}") ;;
    *) echo "unknown group '$group' (docs, package or test)" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
