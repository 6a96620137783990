#!/usr/bin/env bash
# Drives HTTPServerLoad with wrk: our HTTPServer and the raw Beast ceiling,
# with and without keep-alive. Prints wrk's requests/s and latency percentiles.
# Usage: bench/http-load.sh <build-dir> [duration-seconds] [connections]
set -euo pipefail
build=${1:?usage: bench/http-load.sh <build-dir> [duration] [connections]}
duration=${2:-10}
connections=${3:-32}
program="$build/bench/HTTPServerLoad"

for kind in beast tavik; do
  for mode in keep-alive close; do
    "$program" "$kind" 0 2 > /tmp/http-load-port.$$ &
    server=$!
    while [ ! -s /tmp/http-load-port.$$ ]; do sleep 0.1; done
    port=$(cat /tmp/http-load-port.$$)
    header=()
    if [ "$mode" = close ]; then header=(-H "Connection: close"); fi
    echo "== $kind, $mode =="
    wrk -t1 -c"$connections" -d"${duration}s" --latency "${header[@]}" "http://127.0.0.1:$port/" |
      grep -E "Requests/sec|^ +(50|75|90|99)%|Non-2xx|Socket errors"
    kill -TERM "$server"
    wait "$server"
    rm -f /tmp/http-load-port.$$
  done
done
