#!/usr/bin/env bash
# Runs the soak (bench/Soak.cpp) at low priority; its report goes to
# standard output, the library's log lines to <log-file>.
# Usage: bench/soak.sh <build-dir> [seconds (600)] [subscribers (500)] [events-per-second (50)] [log-file]
set -euo pipefail
build=${1:?usage: bench/soak.sh <build-dir> [seconds] [subscribers] [events-per-second] [log-file]}
log=${5:-/tmp/soak.log}
nice -n 10 "$build/bench/Soak" "${2:-600}" "${3:-500}" "${4:-50}" 2> "$log"
echo "log lines: $(wc -l < "$log") in $log"
