#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UBSan) into build/fuzz and
# runs each over its seed corpus for a while. Finds leave crash-* files in build/fuzz/findings.
#   fuzz/run.sh [--build-only] [--seconds N] [--jobs N] [--logs DIR] [target ...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
out="$root/build/fuzz"
seconds=5
jobs=1
build_only=false
logs="$out/logs"
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
    --build-only) build_only=true ;;
    --seconds) seconds=$2; shift ;;
    --jobs) jobs=$2; shift ;;
    --logs) logs=$2; shift ;;
    *) targets+=("$1") ;;
    esac
    shift
done

if [ ! -f "$out/build.ninja" ]; then
    CXX=clang++ cmake -S "$root/fuzz" -B "$out" -G Ninja -DCMAKE_BUILD_TYPE= >/dev/null
fi
cmake --build "$out"
$build_only && exit 0

if [ ${#targets[@]} -eq 0 ]; then
    for binary in "$out"/fuzz_*; do targets+=("$(basename "$binary" | sed 's/^fuzz_//')"); done
fi

mkdir -p "$logs/findings"
run_target() {
    local target=$1
    local corpus="$out/corpus/$target"
    mkdir -p "$corpus"
    # The seeds stay as committed; what the fuzzer learns goes to the build folder.
    "$out/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -max_len=65536 -print_final_stats=1 -artifact_prefix="$logs/findings/$target-" \
        "$corpus" "$root/fuzz/corpus/$target" >"$logs/$target.log" 2>&1
}
failed=0
running=0
for target in "${targets[@]}"; do
    run_target "$target" &
    running=$((running + 1))
    if [ "$running" -ge "$jobs" ]; then
        wait -n || failed=1
        running=$((running - 1))
    fi
done
while [ "$running" -gt 0 ]; do
    wait -n || failed=1
    running=$((running - 1))
done

for target in "${targets[@]}"; do
    runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$logs/$target.log" | grep -o '[0-9]*$' || echo 0)
    if grep -q 'ERROR: \|==ERROR\|runtime error\|does not hold\|deadly signal' "$logs/$target.log"; then
        echo "fuzz_$target: FOUND A FAULT after $runs runs, see $logs/$target.log"
        failed=1
    else
        echo "fuzz_$target: $runs runs, nothing found"
    fi
done
exit $failed
