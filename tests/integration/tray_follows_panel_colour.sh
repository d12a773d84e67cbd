#!/usr/bin/env bash
# The tray items are inked for the panel they sit on, and follow the desktop when it
# switches between light and dark while Ravo runs (the settings portal's color-scheme).
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
use_temporary_home
use_desktop_session
ravo="" host="" portal=""
trap 'kill $ravo $host $portal $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
export XDG_CURRENT_DESKTOP=KDE
unset RAVO_PANEL RAVO_COLOR_SCHEME

/usr/bin/python3 "$here/settings_portal.py" 2 &
portal=$!
host_log=$work/host.log
/usr/bin/python3 "$here/status_notifier_host.py" "$host_log" &
host=$!
wait_until 10 bus_has_name org.freedesktop.portal.Desktop || fail "the portal stand-in did not start"
wait_until 10 bus_has_name org.kde.StatusNotifierWatcher || fail "the host stand-in did not start"

"$bin/ravo" settings set enabledSystemMetrics cpu >/dev/null
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
cpu_inked() { grep -q "^item [0-9]* ravo-cpu .* $1\$" "$host_log"; }
cpu_redrawn() { grep -q "^icon ravo-cpu $1\$" "$host_log"; }
wait_until 20 cpu_inked dark || fail "not dark ink on a light panel: $(cat "$host_log") $(cat "$work/log")"

dbus-send --session --type=method_call --dest=org.freedesktop.portal.Desktop \
    /org/freedesktop/portal/desktop io.ravo.test.Portal.SetColorScheme uint32:1
wait_until 10 cpu_redrawn light || fail "the ink stayed dark on a dark panel: $(cat "$host_log")"
grep -q "The panel changed colour" "$work/log" || fail "no word of it in the log"
# Redrawn in place: an item that left and came back could move in a host's order.
! grep -q "^gone" "$host_log" || fail "items left the panel on the switch: $(cat "$host_log")"
ids=$(awk '$1 == "item" { print $3 }' "$host_log" | tr '\n' ' ')
[ "$ids" = "ravo-cpu ravo-ai-usage " ] || fail "the items registered again: $(cat "$host_log")"
kill -0 $ravo || fail "Ravo did not survive the switch"
echo "dark ink on a light panel, light ink once the desktop turns dark, the items redrawn in place"
