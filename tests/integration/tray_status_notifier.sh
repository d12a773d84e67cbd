#!/usr/bin/env bash
# Ravo under a StatusNotifierItem host (KDE's panel, GNOME's AppIndicator extension, waybar):
# each item registers on its own, with its own Id and Title, in the user's order and with
# pictures; tooltips follow the figures; a click opens the popover beside the click; the
# menu is exported for hosts that draw it themselves.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
use_temporary_home
use_desktop_session
ravo="" host=""
trap 'kill $ravo $host $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

host_log=$work/host.log
/usr/bin/python3 "$here/status_notifier_host.py" "$host_log" &
host=$!
wait_until 10 bus_has_name org.kde.StatusNotifierWatcher || fail "the host stand-in did not start"

# The user's choice: memory first, the processor, then the network; nothing else.
"$bin/ravo" settings set systemMetricOrder memory,cpu,network,disk,gpu,temperature >/dev/null
"$bin/ravo" settings set enabledSystemMetrics memory,cpu,network >/dev/null
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
items() { grep -c '^item ' "$host_log" || true; }
four_items() { [ "$(items)" -ge 4 ]; }
wait_until 20 four_items || fail "items: $(cat "$host_log"), log: $(cat "$work/log")"
sleep 0.5

ids=$(awk '$1 == "item" { print $3 }' "$host_log")
[ "$(echo "$ids" | head -4 | tr '\n' ' ')" = "ravo-memory ravo-cpu ravo-network ravo-ai-usage " ] ||
    fail "not in the user's order, or not each its own: $ids"
[ "$(echo "$ids" | sort -u | wc -l)" -eq "$(echo "$ids" | wc -l)" ] || fail "an Id twice: $ids"
grep -q '^item 2 ravo-cpu Ravo:_Processor [1-9]' "$host_log" ||
    fail "the processor's title or pictures: $(cat "$host_log")"
! grep -q 'ravo-gpu\|ravo-temperature' "$host_log" || fail "an item the user turned off"
# No embedded tray icons beside them.
[ "$(tray_items)" -eq 0 ] || fail "embedded tray icons as well"

# A busy core moves the processor's figure; the host hears of the new tooltip.
timeout 6 sh -c 'while :; do :; done' &
tooltip() { grep -q '^tooltip ravo-cpu Processor:' "$host_log"; }
wait_until 12 tooltip || fail "no tooltip change: $(cat "$host_log")"

# A click near the top of the screen opens the detail below it, not over it.
service=$(dbus-send --session --print-reply --dest=org.kde.StatusNotifierWatcher \
    /StatusNotifierWatcher org.freedesktop.DBus.Properties.Get \
    string:org.kde.StatusNotifierWatcher string:RegisteredStatusNotifierItems |
    grep -o 'string "[^"]*"' | sed -n 2p | sed 's/string "\(.*\)\/StatusNotifierItem"/\1/')
[ -n "$service" ] || fail "no registered name for the processor"
dbus-send --session --type=method_call --dest="$service" /StatusNotifierItem \
    org.kde.StatusNotifierItem.Activate int32:700 int32:12
popover_y() {
    xwininfo -root -tree | grep '"Ravo": ("ravo" "Ravo")' | grep -v '+0+0  +' |
        sed -n 's/.* [0-9]*x[0-9]*+-\{0,1\}[0-9]*+\([0-9]*\) .*/\1/p' | head -1
}
opened() { [ -n "$(popover_y)" ]; }
wait_until 10 opened || fail "no popover after a click: $(xwininfo -root -tree | grep Ravo)"
[ "$(popover_y)" -ge 24 ] || fail "the popover covers the click: y=$(popover_y)"

# The menu is exported for hosts that draw it themselves; its Quit quits.
menu=$(awk '$1 == "menu" && $2 == "ravo-ai-usage"' "$host_log")
entries=$(echo "$menu" | awk '{ print $5 }' | sed 's/[0-9]*://g')
[ "$entries" = "AI_usage,Refresh_now,-,Settings…,Quit_Ravo" ] ||
    fail "the AI item's menu: $(cat "$host_log")"
# Each gauge's menu leads with its own title, which opens its detail.
cpu_menu=$(awk '$1 == "menu" && $2 == "ravo-cpu" { print $5 }' "$host_log" | sed 's/[0-9]*://g')
[ "$cpu_menu" = "Processor,-,AI_usage,Settings…,-,Quit_Ravo" ] ||
    fail "the processor's menu: $cpu_menu"
quit_entry=$(echo "$menu" | grep -o '[0-9]*:Quit_Ravo' | cut -d: -f1)
dbus-send --session --type=method_call --dest="$(echo "$menu" | awk '{ print $3 }')" \
    "$(echo "$menu" | awk '{ print $4 }')" com.canonical.dbusmenu.Event \
    int32:"$quit_entry" string:clicked variant:int32:0 uint32:0
quit() { ! kill -0 $ravo 2>/dev/null; }
wait_until 10 quit || fail "Quit in the exported menu did not quit"
wait $ravo || true
gone() { [ "$(grep -c '^gone ' "$host_log")" -ge 4 ]; }
wait_until 10 gone || fail "items left behind at quit: $(cat "$host_log")"

# For a crowded panel: one item, and its popover has the machine and the limits.
"$bin/ravo" settings set combinedTrayItem true >/dev/null
: >"$host_log"
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
one_item() { [ "$(items)" -ge 1 ]; }
wait_until 20 one_item || fail "no combined item: $(cat "$work/log")"
sleep 1
[ "$(awk '$1 == "item" { print $3 }' "$host_log")" = ravo ] ||
    fail "not one combined item: $(cat "$host_log")"
grep -q '^item 1 ravo Ravo [1-9]' "$host_log" || fail "the combined item's title or pictures"
echo "four items, each its own Id and Title, in the user's order; tooltips follow; a click opens beside it; the menu is exported and works; one combined item when chosen"
