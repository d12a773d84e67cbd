#!/usr/bin/env bash
# The website monitor in the running app, on a desktop with a tray, a real notification
# server (dunst) and a real Secret Service: signed in from the terminal, three sites, one
# loopback site goes down and comes back. The app asks the server every minute, so a
# change shows within two minutes. The tray item appears, the app's picture of the
# sites turns down and back, and exactly one notification is shown for each change.
# Run inside dbus-run-session.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
: "${DBUS_SESSION_BUS_ADDRESS:?run this inside dbus-run-session}"
session_bus=$DBUS_SESSION_BUS_ADDRESS
use_temporary_home
export DBUS_SESSION_BUS_ADDRESS=$session_bus
use_desktop_session
server='' targets='' keyring='' notifier='' ravo='' tray=''
trap 'kill $ravo $tray $notifier $server $targets $keyring $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

start_keyring_and_notifications

http_port=$(free_port)
start_targets "$http_port"
port=$(free_port)
database=sqlite:$work/ravo.db
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
    --check-allow-networks 127.0.0.1/32 \
    --check-timeout 1 >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
printf 'correct horse battery\n' | "$bin/ravo-server" user add ada@example.org --password-stdin \
    --database "$database" >/dev/null
printf 'correct horse battery\n' | "$bin/ravo" account signin --server "http://127.0.0.1:$port" \
    --email ada@example.org --password-stdin >/dev/null || fail "sign-in"
for site in Flap:flap Shop:ok Docs:plain; do
    "$bin/ravo" sites add "http://127.0.0.1:$http_port/${site#*:}" --name "${site%:*}" >/dev/null ||
        fail "adding $site"
done
server_says_up() { [ "$("$bin/ravo" sites --json | jq -r '[.[].health] | unique | join(",")')" = up ]; }
wait_until 20 server_says_up || fail "the server did not check the sites: $("$bin/ravo" sites)"

start_tray
show_all_metrics "$bin/ravo"
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
# The seven items of a fresh start, and the websites item.
has_items() { [ "$(tray_items)" -eq 8 ]; }
wait_until 20 has_items || fail "tray items: $(tray_items), log: $(cat "$work/log")"

picture=$HOME/.local/share/ravo/websites.json
health_of() { jq -r --arg name "$1" '.sites[] | select(.name == $name) | .health' "$picture" 2>/dev/null; }
all_up() { [ "$(jq -r '[.sites[].health] | unique | join(",")' "$picture" 2>/dev/null)" = up ]; }
wait_until 30 all_up || fail "the sites did not come up: $(cat "$picture" 2>/dev/null), log: $(cat "$work/log")"

# Notifications dunst was asked to show; a replaced one counts once.
shown() { dunstctl history | jq -r '.data[0][] | .summary.data + " | " + .body.data'; }
dunstctl close-all
echo 503 >"$work/targets/flap"
is_down() { [ "$(health_of Flap)" = down ]; }
wait_until 130 is_down || fail "Flap did not turn down: $(cat "$picture")"
[ "$(health_of Shop)" = up ] || fail "Shop changed with Flap: $(cat "$picture")"
wait_until 5 bash -c "dunstctl close-all; dunstctl history | jq -e '.data[0] | length == 1' >/dev/null" ||
    fail "no notification: $(shown)"
shown | grep -q "Flap" || fail "the notification does not name the site: $(shown)"
sleep 3 # more polls of the same state bring no more notifications
dunstctl close-all
[ "$(shown | grep -c Flap)" -eq 1 ] || fail "more than one notification: $(shown)"

echo 200 >"$work/targets/flap"
is_up() { [ "$(health_of Flap)" = up ]; }
wait_until 130 is_up || fail "Flap did not recover: $(cat "$picture")"
two_shown() { dunstctl close-all; [ "$(shown | grep -c Flap)" -eq 2 ]; }
wait_until 5 two_shown || fail "no recovery notification: $(shown)"
kill -0 $ravo || fail "ravo died: $(cat "$work/log")"
echo "eight tray items; Flap went down and recovered with one notification each; the others stayed up"
