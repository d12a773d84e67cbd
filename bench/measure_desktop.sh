#!/usr/bin/env bash
# The tray app with all six metric items and the AI item under Xvfb and a real tray: time
# until the items are painted, then CPU share of one core and memory over a minute.
set -euo pipefail
ravo=$(cd "$(dirname "${1:-build/bin/ravo}")" && pwd)/$(basename "${1:-build/bin/ravo}")
seconds=${2:-60}
source "$(dirname "$0")/../tests/integration/lib.sh"
use_temporary_home
use_desktop_session
trap 'kill $pid $tray $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
start_tray
show_all_metrics "$ravo"
started=$(date +%s%N)
"$ravo" >/dev/null 2>&1 &
pid=$!
until [ "$(tray_items)" -eq 7 ]; do
    sleep 0.02
    [ $(( ($(date +%s%N) - started) / 1000000 )) -lt 10000 ] || fail "no tray items after 10 s"
done
painted=$(( ($(date +%s%N) - started) / 1000000 ))
sleep 5 # past start-up
cpu() { awk '{print $1}' "/proc/$pid/schedstat"; }
before=$(cpu)
sleep "$seconds"
after=$(cpu)
rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
awk -v t=$((after - before)) -v s="$seconds" -v rss="$rss" -v p="$painted" 'BEGIN {
    printf "tray app: 7 items painted %d ms after start; %.3f%% of one core over %d s; resident %.1f MiB\n",
        p, 100 * t / 1e9 / s, s, rss / 1024 }'
