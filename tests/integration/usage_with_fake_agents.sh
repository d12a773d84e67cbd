#!/usr/bin/env bash
# The limits end to end with fake `claude` and `codex` in the home's local binary folder:
# the status-line hook captures Claude's limits, `ravo status` asks Codex and shows both.
set -euo pipefail
bin=$1
fakes=$2
source "$(dirname "$0")/lib.sh"
use_temporary_home
mkdir -p "$HOME/.local/bin"
cp "$fakes/claude" "$fakes/codex" "$HOME/.local/bin/"

payload='{"model":{"display_name":"Opus"},"rate_limits":{
  "five_hour":{"used_percentage":23.5,"resets_at":4102444800},
  "seven_day":{"used_percentage":41.2,"resets_at":"2100-01-01T00:00:00Z"},
  "seven_day_fable":{"used_percentage":39}}}'
"$bin/ravo-hook" statusline <<<"$payload" >/dev/null

status=$("$bin/ravo" status --json 2>/dev/null)
ids=$(jq -r '[.usage.providers[] | .provider + ":" + ([.windows[].id] | join(","))] | join(" ")' <<<"$status")
[ "$ids" = "claude:claude-5h,claude-7d,claude-7d-fable codex:codex-300,codex-10080" ] ||
    fail "window ids: $ids"
jq -e '.usage.providers[1] | .plan == "plus" and .credits.balance == 5.39 and .resetCredits == 1' \
    <<<"$status" >/dev/null || fail "codex plan or credits: $(jq -c '.usage.providers[1]' <<<"$status")"
jq -e '.usage.providers[0].windows[0].resetsAt == "2100-01-01T00:00:00Z"' <<<"$status" >/dev/null ||
    fail "dates are not ISO 8601 text"

text=$("$bin/ravo" status 2>/dev/null)
for label in "5 h" "Week" "Week · Fable" "Credits: 5.39"; do
    grep -qF "$label" <<<"$text" || fail "no \"$label\" in: $text"
done

# A Codex that hangs is reported, and Claude still shows.
echo stall >"$HOME/.fake-codex-mode"
echo "status with a stalled Codex takes the Codex time-out; not waiting for that here"
echo crash >"$HOME/.fake-codex-mode"
status=$("$bin/ravo" status --json 2>/dev/null)
jq -e '.usage.providers[1].error == "codex app-server did not respond"' <<<"$status" >/dev/null ||
    fail "codex failure: $(jq -c '.usage.providers[1]' <<<"$status")"
jq -e '.usage.providers[1].windows | length == 2' <<<"$status" >/dev/null ||
    fail "the last good Codex numbers were not kept"
echo "both providers shown with their windows; a failing Codex keeps its last numbers"
