#!/usr/bin/env bash
# A limit of the user's own, as they meet it: set from the terminal while Ravo runs on a
# desktop with a real notification server (dunst), then real processes keep every core busy.
# One notification, with the limit and the reading in the user's words, and no more while
# the load goes on. The temperature unit they chose is how the limit reads back.
# Run inside dbus-run-session.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
use_temporary_home_on_session_bus
use_desktop_session
keyring='' notifier='' ravo='' tray='' burners=''
trap 'kill $ravo $tray $notifier $keyring $burners $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
start_keyring_and_notifications
start_tray

# Off until the user sets one.
"$bin/ravo" settings get cpuAlertAbove | grep -qx '' || fail "a limit is on by default"
if "$bin/ravo" settings set cpuAlertAbove 150 2>"$work/err"; then fail "150% was taken"; fi
grep -q "1 to 100" "$work/err" || fail "no reason for 150%: $(cat "$work/err")"
"$bin/ravo" settings set systemRefreshSeconds 1 >/dev/null
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
has_items() { [ "$(tray_items)" -ge 1 ]; }
wait_until 30 has_items || fail "Ravo did not start: $(cat "$work/log")"
dunstctl close-all

# Set while Ravo runs, as `ravo settings` in another terminal does.
"$bin/ravo" settings set cpuAlertAbove 90% >/dev/null
"$bin/ravo" settings set temperatureUnit F >/dev/null
"$bin/ravo" settings set temperatureAlertAbove 95C >/dev/null
[ "$("$bin/ravo" settings get temperatureAlertAbove)" = 95 ] || fail "95C was not kept as 95"
"$bin/ravo" settings set temperatureAlertAbove 203F >/dev/null
[ "$("$bin/ravo" settings get temperatureAlertAbove)" = 95 ] || fail "203F is not 95 °C"

shown() { dunstctl history | jq -r '.data[0][] | .summary.data + " | " + .body.data'; }
for _ in $(seq $(($(nproc) + 1))); do
    sh -c 'while :; do :; done' &
    burners="$burners $!"
done
limit_shown() { shown | grep -q '^Processor above 90%'; }
# Ten seconds over the line, a sample a second: well inside half a minute on a busy machine.
wait_until 40 limit_shown || fail "no notification: $(shown), log: $(cat "$work/log")"
line=$(shown | grep '^Processor above 90%')
grep -qE 'stayed above 90% for 10 seconds and is at (9[0-9]|100)% now' <<<"$line" || fail "text: $line"
sleep 5 # the load goes on: nothing more to say
[ "$(shown | grep -c '^Processor above')" -eq 1 ] || fail "more than one notification: $(shown)"
kill $burners
burners=''
echo "one notification for a busy machine: $line"
