#!/usr/bin/env bash
# A process keeping a core busy heads the processes by CPU in `ravo status --json`, in
# the text of `ravo status` and in the dashboard's plain lines into a pipe.
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
# A loaded test machine gives it less than the whole core it asks for, never more: a share
# of one core, not of the machine and not a fraction.
awk -v p="$(jq '.cpuPercent' <<<"$top")" 'BEGIN { exit !(p >= 5 && p <= 100) }' ||
    fail "one busy core shows as $(jq .cpuPercent <<<"$top")%"
[ "$(jq '.residentBytes' <<<"$top")" -gt 0 ] || fail "no resident memory"

# The memory list is the largest first, and has this machine's processes.
jq -e '.system.processes.byMemory | length > 0 and
       ([.[].residentBytes] == ([.[].residentBytes] | sort | reverse))' <<<"$status" >/dev/null ||
    fail "the memory list is empty or out of order"
# The text lists it under the busiest, with its pid, share of a core and memory.
text=$("$ravo" status)
busiest=$(sed -n '/^Busiest processes  *pid  *CPU  *memory$/,/^$/p' <<<"$text")
row=$(grep -F "  spin (1) x " <<<"$busiest" || true)
[ -n "$row" ] || fail "the text's busiest processes lack the spinner: $text"
read -r -a figures <<<"${row#  spin (1) x }"
[ "${figures[0]}" = "$busy" ] || fail "its row reads: $row"
[[ ${figures[1]} =~ ^[0-9]+%$ ]] && [ "${figures[1]%\%}" -ge 5 ] || fail "its share reads: $row"
[[ ${figures[2]} =~ ^[0-9.]+$ && ${figures[3]} =~ ^(KB|MB)$ ]] || fail "its memory reads: $row"
grep -q "^Largest processes  *pid  *CPU  *memory$" <<<"$text" || fail "no largest processes: $text"

# The dashboard into a pipe: the spinner shows up in its frames' plain lines.
env -u DISPLAY -u WAYLAND_DISPLAY "$ravo" </dev/null 2>"$work/errors" >"$work/piped" &
dashboard=$!
trap 'kill $busy $dashboard 2>/dev/null || true; rm -rf "$work"' EXIT
piped_spinner() { grep -q "^  spin (1) x  *$busy  *[0-9]*% " "$work/piped"; }
wait_until 20 piped_spinner || fail "no spinner in the piped frames: $(tail -n 40 "$work/piped")"
kill -INT $dashboard
wait $dashboard || fail "the piped dashboard ended with status $?"
kill $busy
echo "busiest: $top"
