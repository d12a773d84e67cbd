#!/usr/bin/env bash
# Two Ravos with homes of their own share one synced folder, as two computers share a
# Nextcloud folder. A setting changed from the terminal on one shows on the other within
# seconds; changes in the same second on both change nothing on either; a half-written file
# and a sync client's conflict copy are left alone. Run inside dbus-run-session.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
: "${DBUS_SESSION_BUS_ADDRESS:?run this inside dbus-run-session}"
session_bus=$DBUS_SESSION_BUS_ADDRESS
use_temporary_home
export DBUS_SESSION_BUS_ADDRESS=$session_bus
use_desktop_session
first='' second='' keyring='' notifier=''
trap 'kill $first $second $keyring $notifier $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
start_keyring_and_notifications

shared=$work/shared/Nextcloud
mkdir -p "$shared"
computer() { # name command...: runs the command as that computer
    local home=$work/$1
    shift
    HOME=$home XDG_RUNTIME_DIR=$home/run "$@"
}
for name in desk laptop; do
    mkdir -p "$work/$name/run" "$work/$name/.config/ravo"
    chmod 700 "$work/$name/run"
    printf '[General]\niCloudSettingsSyncEnabled=true\nsettingsSyncFolder=%s\n' "$shared" \
        >"$work/$name/.config/ravo/ravo.conf"
done
computer desk "$bin/ravo" >"$work/desk.log" 2>&1 &
first=$!
computer laptop "$bin/ravo" >"$work/laptop.log" 2>&1 &
second=$!
file=$shared/Ravo/settings.json
started() { grep -q 'Connection state changed' "$work/$1.log"; }
wait_until 20 started desk && wait_until 20 started laptop ||
    fail "the two did not start: $(cat "$work/desk.log" "$work/laptop.log")"
sleep 1
[ ! -e "$file" ] || fail "nothing was changed, yet a file was written: $(cat "$file")"

setting() { computer "$1" "$bin/ravo" settings get "$2"; }
computer desk "$bin/ravo" settings set connectionAlertsEnabled off
arrived() { [ "$(setting laptop connectionAlertsEnabled)" = false ]; }
wait_until 10 arrived || fail "the change did not arrive: $(cat "$file" 2>/dev/null); $(tail "$work/laptop.log")"
grep -q 'Applied settings from the sync folder' "$work/laptop.log" || fail "laptop log: $(cat "$work/laptop.log")"
computer laptop "$bin/ravo" settings set enabledSystemMetrics cpu,memory,network
back() { [ "$(setting desk enabledSystemMetrics)" = cpu,memory,network ]; }
wait_until 10 back || fail "the laptop's change did not reach the desk: $(cat "$file")"

# A sync client's conflict copy is never taken for the file, nor removed.
cp "$file" "$shared/Ravo/settings.sync-conflict-20261122-120000-ABCDEFG.json"
sed -i 's/"connectionAlerts": false/"connectionAlerts": true/' \
    "$shared/Ravo/settings.sync-conflict-20261122-120000-ABCDEFG.json"

# Both change in the same second: neither applies the other's.
until [ "$(date +%N | cut -c1)" -lt 3 ]; do sleep 0.05; done
computer desk "$bin/ravo" settings set latencyMonitoringEnabled off &
one=$!
computer laptop "$bin/ravo" settings set desktopAlertsEnabled off &
other=$!
wait $one $other
sleep 4
[ "$(setting desk desktopAlertsEnabled)" = true ] || fail "the desk took the laptop's change"
[ "$(setting laptop latencyMonitoringEnabled)" = true ] || fail "the laptop took the desk's change"
[ "$(setting desk connectionAlertsEnabled)" = false ] || fail "the conflict copy was applied"
[ -e "$shared/Ravo/settings.sync-conflict-20261122-120000-ABCDEFG.json" ] || fail "the conflict copy is gone"

# A half-written file changes nothing and is not overwritten; the finished one is taken.
kept=$(cat "$file")
printf '{"updatedAt": "2026-01-01T00:0' >"$file"
sleep 2
[ "$(cat "$file")" = '{"updatedAt": "2026-01-01T00:0' ] || fail "a broken file was overwritten"
[ "$(setting laptop connectionAlertsEnabled)" = false ] || fail "a broken file changed a setting"
printf '%s\n' "$kept" | jq --arg at "$(date -u -d '+30 seconds' +%FT%TZ)" \
    '.updatedAt = $at | .settings.connectionAlerts = true' >"$file.new"
mv "$file.new" "$file"
taken() { [ "$(setting laptop connectionAlertsEnabled)" = true ] && [ "$(setting desk connectionAlertsEnabled)" = true ]; }
wait_until 10 taken || fail "the repaired file was not applied"
kill -0 $first && kill -0 $second || fail "a Ravo died"
echo "a change on either computer arrived on the other; the same second, a conflict copy" \
    "and a half-written file changed nothing"
