#!/usr/bin/env bash
# Drives EndpointLoad with wrk: NOTIFY requests for a known SID (3-property
# body) with and without keep-alive, then new SUBSCRIBE requests whose
# initial events a sink answers. Prints wrk's requests/s and latency
# percentiles, and what the endpoint counted.
# Usage: bench/endpoint-load.sh <build-dir> [duration-seconds] [notify-connections]
#        [subscribe-connections] [subscribe-pause-ms] [pool-capacity]
# subscribe-pause-ms: each connection's pause between an answer and its next
# SUBSCRIBE (0: as fast as answered), to offer a chosen rate; pool-capacity:
# the most threads of the default pool (its own default when not given).
set -euo pipefail
build=${1:?usage: bench/endpoint-load.sh <build-dir> [duration] [notify-connections] [subscribe-connections] [subscribe-pause-ms] [pool-capacity]}
duration=${2:-10}
notifyConnections=${3:-32}
subscribeConnections=${4:-16}
subscribePause=${5:-0}
poolCapacity=${6:-}
only=${ONLY:-}
program="$build/bench/EndpointLoad"
scripts=$(cd "$(dirname "$0")" && pwd)
out=/tmp/endpoint-load.$$

# run notify|subscribe <connections> [wrk options...]: the endpoint prints
# its port (and for subscribe the sink's callback URL) before serving, and
# its counts after SIGTERM.
run() {
	local mode=$1 connections=$2
	shift 2
	local lines=1 script="$scripts/endpoint-notify.lua"
	if [ "$mode" = subscribe ]; then lines=2 script="$scripts/endpoint-subscribe.lua"; fi
	: > "$out"
	"$program" "$mode" 0 $poolCapacity > "$out" &
	local server=$!
	while [ "$(wc -l < "$out")" -lt "$lines" ]; do sleep 0.1; done
	local port callback
	port=$(sed -n 1p "$out")
	callback=$(sed -n 2p "$out")
	wrk -t1 -c"$connections" -d"${duration}s" --latency -s "$script" "$@" "http://127.0.0.1:$port/" -- "$callback" "$subscribePause" |
		grep -E "Requests/sec|^ +(50|75|90|99)%|Non-2xx|Socket errors"
	kill -TERM "$server"
	wait "$server"
	sed -n "$((lines + 1)),\$p" "$out"
	rm -f "$out"
}

# ONLY=notify or ONLY=subscribe runs just those.
if [ "$only" != subscribe ]; then
	echo "== NOTIFY, keep-alive, $notifyConnections connections =="
	run notify "$notifyConnections"
	echo "== NOTIFY, close, $notifyConnections connections =="
	run notify "$notifyConnections" -H "Connection: close"
fi
if [ "$only" != notify ]; then
	echo "== SUBSCRIBE, keep-alive, $subscribeConnections connections, pause ${subscribePause} ms =="
	run subscribe "$subscribeConnections"
fi
