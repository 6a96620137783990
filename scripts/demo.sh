#!/usr/bin/env bash
# Builds the gena tool and runs its demo: a publisher and a subscriber on
# loopback in one process. Extra arguments go to the demo (e.g. --json).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target gena -j "$(nproc)"
exec build/release/tools/gena demo "$@"
