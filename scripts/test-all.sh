#!/usr/bin/env bash
# Builds and runs every test: a Release build, then ASan+UBSan, then TSan.
# Usage: scripts/test-all.sh [preset...]   (default: release asan tsan)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

presets=("$@")
if [ ${#presets[@]} -eq 0 ]; then
  presets=(release asan tsan)
fi

jobs=$(nproc)
for preset in "${presets[@]}"; do
  echo "== $preset =="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
