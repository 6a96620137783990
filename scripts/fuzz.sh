#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ with clang in build/fuzz and runs each
# for the given number of seconds (default 60) on a copy of its seed corpus.
# Fails on the first crash, leak, undefined behaviour or timeout; the input
# that caused it is kept in build/fuzz/findings/ and the fuzzer's log in
# build/fuzz/logs/.
#
#   scripts/fuzz.sh [seconds-per-target]
#
# Environment: JOBS (build parallelism, default 2), CC/CXX (default clang-14
# and clang++-14), FUZZ_TARGETS (a space-separated subset to run).
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/fuzz
targets=${FUZZ_TARGETS:-"DeserializerSetupFuzzer RequestHandlerFuzzer SubscribeResponseFuzzer URIParseFuzzer NumberParserFuzzer Base64DecoderFuzzer"}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	-DCMAKE_C_COMPILER="${CC:-clang-14}" -DCMAKE_CXX_COMPILER="${CXX:-clang++-14}" \
	-DTAVIK_BUILD_FUZZERS=ON -DTAVIK_BUILD_TESTS=OFF -DTAVIK_BUILD_BENCHMARKS=OFF >/dev/null
# shellcheck disable=SC2086
cmake --build "$build" --target $targets -j "${JOBS:-2}"

mkdir -p "$build/findings" "$build/logs"
status=0
for target in $targets; do
	work=$build/corpus/$target
	rm -rf "$work"
	mkdir -p "$work"
	cp "$root/fuzz/corpus/$target/"* "$work/"
	options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
		-artifact_prefix="$build/findings/$target-")
	if [[ -f $root/fuzz/dict/$target.dict ]]; then
		options+=(-dict="$root/fuzz/dict/$target.dict")
	fi
	echo "== $target: $seconds s"
	if "$build/fuzz/$target" "${options[@]}" "$work" >"$build/logs/$target.log" 2>&1; then
		grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$build/logs/$target.log" | tail -n 2 || true
	else
		echo "!! $target failed; see $build/logs/$target.log" >&2
		tail -n 40 "$build/logs/$target.log" >&2
		status=1
	fi
done
exit $status
