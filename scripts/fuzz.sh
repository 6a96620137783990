#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ in the asan preset's build (clang,
# ASan+UBSan; build/asan) and runs each for the given number of seconds
# (default 60) on a copy of its seed corpus. Fails on the first crash, leak,
# undefined behaviour or timeout; the input that caused it is kept in
# build/fuzz/findings/ and the fuzzer's log in build/fuzz/logs/.
#
#   scripts/fuzz.sh [seconds-per-target]
#
# Environment: JOBS (build parallelism, and targets run at a time; default
# 2), FUZZ_TARGETS (a space-separated subset to run).
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
work=$root/build/fuzz
targets=${FUZZ_TARGETS:-"DeserializerSetupFuzzer RequestHandlerFuzzer SubscribeResponseFuzzer URIParseFuzzer NumberParserFuzzer Base64DecoderFuzzer"}

cd "$root"
cmake --preset asan >/dev/null
# shellcheck disable=SC2086
cmake --build --preset asan --target $targets -j "${JOBS:-2}"

build=$root/build/asan
mkdir -p "$work/findings" "$work/logs"
# Runs one target; its log tells what happened.
run() {
	local target=$1
	local corpus=$work/corpus/$target
	rm -rf "$corpus"
	mkdir -p "$corpus"
	cp "$root/fuzz/corpus/$target/"* "$corpus/"
	local options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
		-artifact_prefix="$work/findings/$target-")
	if [[ -f $root/fuzz/dict/$target.dict ]]; then
		options+=(-dict="$root/fuzz/dict/$target.dict")
	fi
	"$build/fuzz/$target" "${options[@]}" "$corpus" >"$work/logs/$target.log" 2>&1
}

# JOBS targets at a time.
status=0
pids=()
names=()
report() {
	if wait "${pids[0]}"; then
		echo "== ${names[0]}: $seconds s"
		grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$work/logs/${names[0]}.log" | tail -n 2 || true
	else
		echo "!! ${names[0]} failed; see $work/logs/${names[0]}.log" >&2
		tail -n 40 "$work/logs/${names[0]}.log" >&2
		status=1
	fi
	pids=("${pids[@]:1}")
	names=("${names[@]:1}")
}
for target in $targets; do
	run "$target" &
	pids+=($!)
	names+=("$target")
	if [ ${#pids[@]} -ge "${JOBS:-2}" ]; then report; fi
done
while [ ${#pids[@]} -gt 0 ]; do report; done
exit $status
