#!/usr/bin/env bash
# A process keeping a core busy heads `ravo status --json`'s processes by CPU.
set -euo pipefail
ravo=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home

# A name with spaces and parentheses, as the kernel reports it to the last ')'.
cp "$(command -v sh)" "$work/spin (1) x"
"$work/spin (1) x" -c 'while :; do :; done' &
busy=$!
trap 'kill $busy 2>/dev/null || true; rm -rf "$work"' EXIT
sleep 0.3

status=$("$ravo" status --json)
# Other tests may keep cores busy too: the spinner is among the busiest, in order.
top=$(jq -c --argjson pid "$busy" '.system.processes.byCpu[] | select(.pid == $pid)' <<<"$status")
[ -n "$top" ] || fail "the spinning $busy is not among $(jq -c .system.processes.byCpu <<<"$status")"
jq -e '.system.processes.byCpu | [.[].cpuPercent // 0] == ([.[].cpuPercent // 0] | sort | reverse)' \
    <<<"$status" >/dev/null || fail "the CPU list is out of order"
[ "$(jq -r '.name' <<<"$top")" = "spin (1) x" ] || fail "its name reads $(jq -r .name <<<"$top")"
awk -v p="$(jq '.cpuPercent' <<<"$top")" 'BEGIN { exit !(p >= 50 && p <= 100) }' ||
    fail "one busy core shows as $(jq .cpuPercent <<<"$top")%"
[ "$(jq '.residentBytes' <<<"$top")" -gt 0 ] || fail "no resident memory"

# The memory list is the largest first, and has this machine's processes.
jq -e '.system.processes.byMemory | length > 0 and
       ([.[].residentBytes] == ([.[].residentBytes] | sort | reverse))' <<<"$status" >/dev/null ||
    fail "the memory list is empty or out of order"
kill $busy
echo "busiest: $top"
