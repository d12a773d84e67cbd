#!/usr/bin/env bash
# `ravo status` in a second terminal tells what the running Ravo shows and notifies: it asks
# Ravo over its socket, and looks for itself only when none runs. Both give the same JSON.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
use_desktop_session
ravo="" tray=""
trap 'kill $ravo $tray $x_server 2>/dev/null || true; [ -n "${ok:-}" ] || cat "$work/log" >&2 2>/dev/null; rm -rf "$work"' EXIT

mkdir -p "$HOME/.claude" "$HOME/shop" "$work/elsewhere"
"$bin/ravo" hooks install >/dev/null || fail "tracking did not turn on"
printf '{"session_id":"asked-1","transcript_path":"%s/t.jsonl","cwd":"%s/shop","hook_event_name":"UserPromptSubmit","prompt":"Add a cart"}' \
    "$HOME" "$HOME" | "$bin/ravo-hook" claude
start_tray
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!

# From a home of its own the asker has no sessions to find: one in the answer is Ravo's.
asked() {
    HOME=$work/elsewhere "$bin/ravo" status --json >"$work/live.json" 2>"$work/err" &&
        [ "$(jq '.sessions | length' "$work/live.json")" = 1 ]
}
wait_until 30 asked || fail "no answer from the running Ravo: $(cat "$work/live.json" "$work/err")"
jq -e '.sessions[0].project == "shop" or (.sessions[0] | tostring | contains("shop"))' "$work/live.json" >/dev/null ||
    fail "the session: $(jq -c .sessions "$work/live.json")"
jq -e '.connection.state and .system and .network' "$work/live.json" >/dev/null ||
    fail "the answer lacks parts: $(jq -c 'keys' "$work/live.json")"
HOME=$work/elsewhere "$bin/ravo" status >"$work/live.txt" || fail "text status"
grep -q shop "$work/live.txt" || fail "the text is not the running Ravo's: $(cat "$work/live.txt")"

kill $ravo
wait $ravo 2>/dev/null || true
ravo=''
"$bin/ravo" status --json >"$work/alone.json" || fail "status without a running Ravo"
[ "$(jq '.sessions | length' "$work/alone.json")" = 1 ] || fail "alone: $(jq -c .sessions "$work/alone.json")"
# The same JSON: every key path of one is in the other (figures differ, the form does not).
shape() { jq -S '[paths | map(if type == "number" then "#" else . end) | join(".")] | unique' "$1"; }
diff <(shape "$work/live.json") <(shape "$work/alone.json") >"$work/shape.diff" ||
    fail "the two answers differ in form: $(cat "$work/shape.diff")"
ok=1
echo "the running Ravo answered; alone, the same form"
