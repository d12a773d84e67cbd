#!/usr/bin/env bash
# CPU time of one full sample (Google Benchmark) and its instruction count (callgrind).
set -euo pipefail
build=${1:-build}
"$build/bin/ravo_bench_sampler" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
count() {
    local out
    out=$(mktemp)
    valgrind --tool=callgrind --callgrind-out-file="$out" "$build/bin/ravo_sample_loop" "$1" \
        >/dev/null 2>&1
    callgrind_annotate "$out" 2>/dev/null | awk '/PROGRAM TOTALS/ {gsub(",", "", $1); print $1}'
    rm -f "$out"
}
base=$(count 10)
more=$(count 110)
echo "callgrind: $(( (more - base) / 100 )) instructions per full sample"
