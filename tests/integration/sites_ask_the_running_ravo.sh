#!/usr/bin/env bash
# `ravo sites` beside a running Ravo on a desktop, against the real ravo-server: it asks
# Ravo over its socket, Ravo asks the server once more and answers with what it then shows;
# with none running the command reads the server itself, in the same form. A server away is
# a failure in both, and gone once the server is back.
# Run inside dbus-run-session.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/server_lib.sh"
use_temporary_home_on_session_bus
use_desktop_session
server='' keyring='' ravo=''
trap 'kill $ravo $server $keyring $x_server 2>/dev/null || true; [ -n "${ok:-}" ] || cat "$work/ravo.log" >&2 2>/dev/null; rm -rf "$work"' EXIT
start_keyring

start_plain_server "$bin"
second=$(password_token "$bin" ada@example.org) # another computer of the same account
printf 'correct horse battery\n' | "$bin/ravo" account signin --server "http://127.0.0.1:$port" \
    --email ada@example.org --password-stdin >/dev/null || fail "sign-in"
"$bin/ravo" sites add shop.example --name Shop >/dev/null || fail "add shop"
"$bin/ravo" sites add blog.example >/dev/null || fail "add blog"

QT_LOGGING_RULES='io.halvorsund.Ravo.*=true' "$bin/ravo" >"$work/ravo.out" 2>"$work/ravo.log" &
ravo=$!

# From a home without an account only the running Ravo can name the sites.
mkdir -p "$work/elsewhere"
asked() { HOME=$work/elsewhere XDG_CONFIG_HOME=$work/elsewhere/.config "$bin/ravo" sites "$@"; }
two_sites() { [ "$(asked --json 2>/dev/null | jq length)" = 2 ]; }
wait_until 30 two_sites || fail "no answer from the running Ravo: $(asked --json 2>&1)"
asked | grep -q '^unknown  Shop  https://shop.example' || fail "text: $(asked 2>&1)"

# Another computer adds a site; the answer has it at once, not a minute later.
list=$(curl -sf -H "Authorization: Bearer $second" "$api/sites/sync")
jq -c '. + [{id: "7a1c0d2e-3f4a-4b5c-8d6e-999999999999", url: "https://late.example/",
    name: "Late", enabled: true, interval_minutes: 9}]' <<<"$list" >"$work/more"
curl -sf -o /dev/null -X PUT -H "Authorization: Bearer $second" \
    -H 'Content-Type: application/json' --data-binary @"$work/more" "$api/sites/sync" || fail "PUT"
asked --json >"$work/live.json" || fail "asked: $(cat "$work/live.json")"
[ "$(jq -r '[.[].name] | join(",")' "$work/live.json")" = "Shop,,Late" ] ||
    fail "the running Ravo answered from an old list: $(cat "$work/live.json")"

# The server away: Ravo says so and the command fails, its JSON an error object that still
# holds the sites it has.
kill $server
wait $server 2>/dev/null || true
status=0
asked --json >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 1 ] || fail "a failed read exited with $status"
jq -e '(.error.message == "The Ravo server can'"'"'t be reached.") and (.sites | length) == 3' \
    "$work/out" >/dev/null || fail "not an error object with the sites: $(cat "$work/out")"
status=0
asked >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 1 ] || fail "a failed read in text exited with $status"
grep -q "The Ravo server can't be reached." "$work/err" || fail "$(cat "$work/err")"
start_plain_server "$bin"
asked --json >/dev/null 2>"$work/err" || fail "the old failure stayed: $(cat "$work/err")"

kill $ravo
wait $ravo 2>/dev/null || true
ravo=''
"$bin/ravo" sites --json >"$work/alone.json" || fail "sites without a running Ravo"
diff <(jq -S . "$work/live.json") <(jq -S . "$work/alone.json") >"$work/diff" ||
    fail "the two answers differ: $(cat "$work/diff")"
ok=1
echo "the running Ravo answered from the server's list; alone, the same JSON"
