#!/usr/bin/env bash
# `ravo` headless at its 2-second cadence: CPU share of one core over a minute (the
# scheduler's nanosecond count, not clock ticks), and memory.
set -euo pipefail
ravo=${1:-build/bin/ravo}
seconds=${2:-60}
work=$(mktemp -d)
trap 'kill $pid 2>/dev/null || true; rm -rf "$work"' EXIT
export HOME=$work
unset DISPLAY WAYLAND_DISPLAY
mkfifo "$work/keys"
"$ravo" <"$work/keys" >/dev/null 2>&1 &
pid=$!
exec 3>"$work/keys"
sleep 5 # start-up is not the steady state
ticks() { awk '{print $1}' "/proc/$pid/schedstat"; }
before=$(ticks)
sleep "$seconds"
after=$(ticks)
rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
hwm=$(awk '/VmHWM/ {print $2}' "/proc/$pid/status")
printf q >&3
awk -v t=$((after - before)) -v s="$seconds" -v rss="$rss" -v hwm="$hwm" 'BEGIN {
    printf "headless ravo: %.3f%% of one core over %d s, resident %.1f MiB (peak %.1f MiB)\n",
        100 * t / 1e9 / s, s, rss / 1024, hwm / 1024 }'
