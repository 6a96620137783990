#!/usr/bin/env bash
# Builds the API reference of the installed public headers with Doxygen into
# build/docs/html (start at build/docs/html/index.html). Fails on any
# warning, an undocumented public name included.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh docs
TAVIK_VERSION=$(sed -n 's/^project(TavikUPnPGENA VERSION \([^ ]*\) .*/\1/p' CMakeLists.txt)
export TAVIK_VERSION
mkdir -p build/docs
doxygen doc/Doxyfile
echo "API reference: build/docs/html/index.html"
