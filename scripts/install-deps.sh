#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need.
# Usage: scripts/install-deps.sh [test]
#   test: also the peers and tools of the full test run (libupnp for the
#   interoperability tests, iproute2 for the dead-host tests, clang for the
#   asan preset and its fuzz targets).
# Quick when everything is present: apt is only asked for what is missing.
set -euo pipefail

packages=(
  cmake g++ ninja-build
  libgtest-dev libgmock-dev
  libbenchmark-dev
  libexpat1-dev
  libboost-dev
)
if [ "${1:-}" = "test" ]; then
  packages+=(pkg-config libupnp-dev iproute2 clang-14 libclang-rt-14-dev)
fi

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
