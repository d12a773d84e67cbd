#!/usr/bin/env bash
# `ravo status --json` against free(1), df(1) and a process that keeps one core busy.
set -euo pipefail
ravo=$1
fail() { echo "FAIL: $*" >&2; exit 1; }

status=$("$ravo" status --json)
jq -e '.system.date | test("^[0-9]{4}-[0-9]{2}-[0-9]{2}T")' <<<"$status" >/dev/null ||
    fail "the date is not ISO 8601 text"

read -r free_total free_used < <(free -b | awk '/^Mem:/ {print $2, $3}')
ours_total=$(jq '.system.memory.total' <<<"$status")
ours_used=$(jq '.system.memory.app + .system.memory.wired + .system.memory.compressed' <<<"$status")
[ "$ours_total" -eq "$free_total" ] || fail "memory total $ours_total, free says $free_total"
awk -v a="$ours_used" -v b="$free_used" -v t="$free_total" \
    'BEGIN { d = (a - b) / t; if (d < 0) d = -d; exit !(d <= 0.02) }' ||
    fail "memory used $ours_used, free says $free_used"

read -r df_size df_avail < <(df -B1 --output=size,avail / | tail -n 1)
[ "$(jq '.system.disk.total' <<<"$status")" -eq "$df_size" ] || fail "disk total differs from df"
awk -v a="$(jq '.system.disk.available' <<<"$status")" -v b="$df_avail" -v t="$df_size" \
    'BEGIN { d = (a - b) / t; if (d < 0) d = -d; exit !(d <= 0.01) }' ||
    fail "disk available differs from df"
# The gauge is df's Use%, which leaves root's reserved blocks out of both used and size.
df_pcent=$(df --output=pcent / | tail -n 1 | tr -dc '0-9')
ours_pcent=$(jq '.system.disk | (.total - (.reserved // 0) - .available) * 100 / (.total - (.reserved // 0))' <<<"$status")
awk -v a="$ours_pcent" -v b="$df_pcent" 'BEGIN { d = a - b; if (d < 0) d = -d; exit !(d <= 1.5) }' ||
    fail "disk gauge $ours_pcent%, df says $df_pcent%"

# One busy core out of n shows as at least most of 1/n.
sh -c 'while :; do :; done' &
busy=$!
trap 'kill $busy 2>/dev/null || true' EXIT
sleep 0.5
load=$("$ravo" status --json | jq '.system.cpu.user + .system.cpu.system')
kill $busy
cores=$(nproc)
awk -v l="$load" -v n="$cores" 'BEGIN { exit !(l >= 0.8 / n) }' ||
    fail "CPU load $load with one of $cores cores busy"
echo "status agrees: memory used $ours_used vs $free_used, CPU $load with one busy core"
