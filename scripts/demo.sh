#!/usr/bin/env bash
# Builds the project and runs the gena tool's demo: a publisher and a
# subscriber on loopback in one process.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"

gena=build/release/tools/gena
if [ ! -x "$gena" ]; then
  echo "The library is built; the gena tool and its demo are not there yet."
  exit 0
fi
exec "$gena" demo
