#!/usr/bin/env bash
# `ravo` over SSH: the full-screen terminal dashboard in a real terminal (tmux) at 200x60,
# its biggest layout, at the 2-second cadence: CPU share of one core over a minute (the
# scheduler's nanosecond count, not clock ticks), and memory.
set -euo pipefail
ravo=$(cd "$(dirname "${1:-build/bin/ravo}")" && pwd)/$(basename "${1:-build/bin/ravo}")
seconds=${2:-60}
work=$(mktemp -d)
socket=ravo-bench-$$
trap 'tmux -L $socket kill-server 2>/dev/null || true; rm -rf "$work"' EXIT
export HOME=$work
unset DISPLAY WAYLAND_DISPLAY
tmux -L "$socket" -f /dev/null new-session -d -x 200 -y 60 "exec $ravo"
sleep 5 # start-up is not the steady state
pid=$(tmux -L "$socket" list-panes -F '#{pane_pid}')
grep -q ravo "/proc/$pid/comm" || { echo "ravo is not running in the terminal" >&2; exit 1; }
ticks() { awk '{print $1}' "/proc/$pid/schedstat"; }
before=$(ticks)
sleep "$seconds"
after=$(ticks)
rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
hwm=$(awk '/VmHWM/ {print $2}' "/proc/$pid/status")
tmux -L "$socket" send-keys q
awk -v t=$((after - before)) -v s="$seconds" -v rss="$rss" -v hwm="$hwm" 'BEGIN {
    printf "terminal dashboard (200x60): %.3f%% of one core over %d s, resident %.1f MiB (peak %.1f MiB)\n",
        100 * t / 1e9 / s, s, rss / 1024, hwm / 1024 }'
