#!/usr/bin/env bash
# The speed tests run on this computer are remembered, whichever process ran them: tests
# from a terminal show in a running Ravo's answer to `ravo speedtest --history`, and the
# command gives the very same JSON when it reads them itself, with no Ravo running.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
use_desktop_session
ravo='' tray='' speed=''
trap 'kill $ravo $tray $speed $x_server 2>/dev/null || true; [ -n "${ok:-}" ] || cat "$work/log" >&2 2>/dev/null; rm -rf "$work"' EXIT

port=$(free_port)
# Loopback moves gigabits: a budget that lets two tests through.
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/speed.db" --checker off \
    --speedtest-mib-per-hour 100000 >"$work/server.log" 2>&1 &
speed=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"

"$bin/ravo" speedtest --history >"$work/none" || fail "history before any test"
grep -q "No speed test has been run" "$work/none" || fail "no tests: $(cat "$work/none")"
"$bin/ravo" speedtest --history --json | jq -e '.measuring == false and .tests == []' >/dev/null ||
    fail "empty history JSON"
"$bin/ravo" speedtest --history --server "http://127.0.0.1:$port" 2>"$work/err" &&
    fail "--history took a server"
grep -q "takes no --server" "$work/err" || fail "the refusal: $(cat "$work/err")"

"$bin/ravo" speedtest --server "http://127.0.0.1:$port" >"$work/first" 2>&1 ||
    fail "the first test: $(cat "$work/first")"

start_tray
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
# Asked from a home of its own, which remembers nothing: tests in the answer are Ravo's.
mkdir -p "$work/elsewhere"
asked() { HOME=$work/elsewhere "$bin/ravo" speedtest --history --json >"$work/live.json" 2>/dev/null; }
count() { jq '.tests | length' "$work/live.json"; }
wait_until 30 eval 'asked && [ "$(count)" = 1 ]' || fail "the running Ravo's answer: $(cat "$work/live.json")"

# A test from a terminal while Ravo runs: Ravo's answer has it at once, first.
"$bin/ravo" speedtest --json --server "http://127.0.0.1:$port" >"$work/second.json" 2>&1 ||
    fail "the second test: $(cat "$work/second.json")"
wait_until 10 eval 'asked && [ "$(count)" = 2 ]' ||
    fail "the terminal's test is missing: $(cat "$work/live.json")"
jq -e --argjson down "$(jq .downloadBitsPerSecond "$work/second.json")" \
    --arg server "http://127.0.0.1:$port/api/v1/speedtest/config" \
    '.tests[0].downloadBitsPerSecond == $down and .tests[0].server == $server and
     (.tests[0].finishedAt >= .tests[1].finishedAt) and .measuring == false' "$work/live.json" >/dev/null ||
    fail "the newest test: $(cat "$work/live.json")"
HOME=$work/elsewhere "$bin/ravo" speedtest --history >"$work/live.txt"
[ "$(grep -c "127.0.0.1:$port" "$work/live.txt")" = 2 ] || fail "the table: $(cat "$work/live.txt")"
grep -q "^Finished  *Download  *Upload" "$work/live.txt" || fail "the table's head: $(cat "$work/live.txt")"

kill $ravo
wait $ravo 2>/dev/null || true
ravo=''
"$bin/ravo" speedtest --history --json >"$work/alone.json" || fail "history without a running Ravo"
diff "$work/live.json" "$work/alone.json" >"$work/diff" ||
    fail "the two answers differ: $(cat "$work/diff")"

# A list garbled by hand is reported, not shown as no tests at all.
settings=$(grep -rl '^speedTestHistory=' "$HOME/.config") || fail "no history in the settings"
sed -i 's/^speedTestHistory=.*/speedTestHistory=garbled/' "$settings"
if "$bin/ravo" speedtest --history --json >"$work/garbled.json" 2>/dev/null; then
    fail "a garbled history was listed"
fi
jq -e '.error.message | contains("unreadable")' "$work/garbled.json" >/dev/null ||
    fail "the garbled history: $(cat "$work/garbled.json")"
ok=1
echo "two tests from the terminal remembered; the running Ravo and the settings say the same"
