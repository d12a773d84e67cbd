#!/usr/bin/env bash
# `ravo settings set` while Ravo runs as the terminal dashboard, alone and beside a second
# one: every instance takes the change at once, the one that syncs sends it up, and none
# later sends its old settings up under a newer date, undoing the change everywhere.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
unset DISPLAY WAYLAND_DISPLAY
export XDG_RUNTIME_DIR=$work/run
mkdir -m 700 "$XDG_RUNTIME_DIR"
first='' second=''
trap 'kill $first $second 2>/dev/null || true; rm -rf "$work"' EXIT
shared=$work/Nextcloud
mkdir -p "$shared" "$HOME/.config/ravo"
printf '[General]\niCloudSettingsSyncEnabled=true\nsettingsSyncFolder=%s\n' "$shared" \
    >"$HOME/.config/ravo/ravo.conf"
file=$shared/Ravo/settings.json

# Output to a file: the dashboard prints plain frames; its log goes to stderr.
QT_LOGGING_RULES='io.halvorsund.Ravo.*=true' "$bin/ravo" >"$work/first.out" 2>"$work/first.log" &
first=$!
wait_until 20 grep -q 'Connection state changed' "$work/first.log" ||
    fail "the dashboard did not start: $(tail "$work/first.log")"
QT_LOGGING_RULES='io.halvorsund.Ravo.*=true' "$bin/ravo" >"$work/second.out" 2>"$work/second.log" &
second=$!
wait_until 20 grep -q 'Connection state changed' "$work/second.log" ||
    fail "the second did not start: $(tail "$work/second.log")"

"$bin/ravo" settings set connectionAlertsEnabled off
for log in first second; do
    wait_until 5 grep -q 'Setting changed outside this Ravo: connectionAlertsEnabled' "$work/$log.log" ||
        fail "the $log instance did not take the change: $(tail "$work/$log.log")"
done
sent() { [ -e "$file" ] && jq -e '.settings.connectionAlerts == false' "$file" >/dev/null; }
wait_until 10 sent || fail "the change was not sent up: $(cat "$file" 2>/dev/null)"

# Later changes of their own (and the polls) must not bring the old value back.
"$bin/ravo" settings set latencyMonitoringEnabled off
wait_until 10 sh -c "jq -e '.settings.latencyMonitoring == false' '$file' >/dev/null" ||
    fail "the second change was not sent up: $(cat "$file")"
sleep 3
jq -e '.settings.connectionAlerts == false and .settings.latencyMonitoring == false' "$file" \
    >/dev/null || fail "an instance undid a change: $(cat "$file")"
[ "$("$bin/ravo" settings get connectionAlertsEnabled)" = false ] || fail "the setting came back"
kill -0 $first && kill -0 $second || fail "an instance died"
echo "both instances took the change from the terminal; the synced file kept it"
