#!/usr/bin/env bash
# Builds and runs every test: a Release build; then installs it and its
# Debian packages and builds against them (scripts/check-install.sh, on the
# Release build) and builds the API reference (scripts/docs.sh); then
# ASan+UBSan, then TSan, then each fuzz target for FUZZ_SECONDS (default 20)
# on its seed corpus.
# Usage: scripts/test-all.sh [stage...]
#   (default: release install docs asan tsan fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh test

presets=("$@")
if [ ${#presets[@]} -eq 0 ]; then
  presets=(release install docs asan tsan fuzz)
fi

jobs=$(nproc)
for preset in "${presets[@]}"; do
  echo "== $preset =="
  if [ "$preset" = fuzz ]; then
    JOBS=$jobs scripts/fuzz.sh "${FUZZ_SECONDS:-20}"
    continue
  fi
  if [ "$preset" = install ]; then
    scripts/check-install.sh build/release
    continue
  fi
  if [ "$preset" = docs ]; then
    scripts/docs.sh
    continue
  fi
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
