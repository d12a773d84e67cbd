#!/usr/bin/env bash
# Ravo's row on real panels, each with its own StatusNotifierWatcher: xfce4-panel's status
# tray (under Xvfb), which puts a newcomer on the far left, and waybar (under a headless
# sway), which adds items on the right as they register. The row reads left to right as the
# user ordered it: the metrics, then AI usage; and after a settings change the whole row
# registers again, so AI usage stays at the end.
set -euo pipefail
bin=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"

# waybar's part runs as its own user on a bus of its own: sway refuses to run as root.
if [ "${2:-}" = --waybar ]; then
    export HOME=$3 XDG_RUNTIME_DIR=$3/runtime XDG_CONFIG_HOME=$3/config
    unset DISPLAY WAYLAND_DISPLAY
    work=$HOME
    sway="" ravo=""
    start_x_server # for Ravo, which reaches the panel over the bus
    trap 'kill $ravo $sway $x_server 2>/dev/null || true' EXIT
    mkdir -p "$XDG_CONFIG_HOME/sway" "$XDG_CONFIG_HOME/waybar" && chmod 700 "$XDG_RUNTIME_DIR"
    printf 'output HEADLESS-1 resolution 800x200\nbar {\n swaybar_command waybar\n}\n' \
        >"$XDG_CONFIG_HOME/sway/config"
    echo '{"position": "top", "height": 30, "modules-left": ["tray"]}' \
        >"$XDG_CONFIG_HOME/waybar/config"
    WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
        env -u DISPLAY sway -c "$XDG_CONFIG_HOME/sway/config" >"$work/sway.log" 2>&1 &
    sway=$!
    wait_until 30 bus_has_name org.kde.StatusNotifierWatcher ||
        fail "waybar's watcher did not start: $(cat "$work/sway.log")"
    # waybar's watcher lists the newest first: read backwards, that is the row on screen.
    on_screen() {
        dbus-send --session --print-reply --dest=org.kde.StatusNotifierWatcher \
            /StatusNotifierWatcher org.freedesktop.DBus.Properties.Get \
            string:org.kde.StatusNotifierWatcher string:RegisteredStatusNotifierItems |
            grep -o 'StatusNotifierItem-[0-9]*-[0-9]*' | tac | while read -r name; do
                dbus-send --session --print-reply --dest="org.kde.$name" /StatusNotifierItem \
                    org.freedesktop.DBus.Properties.Get string:org.kde.StatusNotifierItem \
                    string:Id | sed -n 's/.*string "\(.*\)"/\1/p'
            done | tr '\n' ' '
    }
    "$bin/ravo" settings set systemMetricOrder memory,cpu,network,disk,gpu,temperature >/dev/null
    "$bin/ravo" settings set enabledSystemMetrics memory,cpu,network >/dev/null
    "$bin/ravo" >"$work/ravo.log" 2>&1 &
    ravo=$!
    first="ravo-memory ravo-cpu ravo-network ravo-ai-usage "
    shows_first() { [ "$(on_screen)" = "$first" ]; }
    wait_until 30 shows_first || fail "waybar's row: $(on_screen), log: $(cat "$work/ravo.log")"
    # The user moves the disk in between and drops the processor, in the running Ravo.
    "$bin/ravo" settings set systemMetricOrder memory,disk,cpu,network,gpu,temperature >/dev/null
    "$bin/ravo" settings set enabledSystemMetrics memory,disk,network >/dev/null
    changed="ravo-memory ravo-disk ravo-network ravo-ai-usage "
    shows_changed() { [ "$(on_screen)" = "$changed" ]; }
    wait_until 20 shows_changed || fail "waybar's row after a change: $(on_screen)"
    exit 0
fi

use_temporary_home
use_desktop_session
ravo="" panel="" xfconf=""
trap 'kill $ravo $panel $xfconf $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

# One panel with the status tray alone, as a fresh user's settings would have it.
export XDG_CONFIG_HOME=$HOME/.config
channel=$XDG_CONFIG_HOME/xfce4/xfconf/xfce-perchannel-xml
mkdir -p "$channel"
cat >"$channel/xfce4-panel.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="size" type="uint" value="30"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
XML
xfconfd=$(ls /usr/lib/*/xfce4/xfconf/xfconfd | head -1)
"$xfconfd" >"$work/xfconf.log" 2>&1 &
xfconf=$!
xfce4-panel >"$work/panel.log" 2>&1 &
panel=$!
wait_until 30 bus_has_name org.kde.StatusNotifierWatcher ||
    fail "xfce4-panel's status tray did not start: $(cat "$work/panel.log")"

# The tray draws its items in the order of its "known-items", where a newcomer goes first.
on_screen() {
    xfconf-query -c xfce4-panel -p /plugins/plugin-1/known-items 2>/dev/null |
        grep '^ravo' | tr '\n' ' ' || true
}
"$bin/ravo" settings set systemMetricOrder memory,cpu,network,disk,gpu,temperature >/dev/null
"$bin/ravo" settings set enabledSystemMetrics memory,cpu,network >/dev/null
"$bin/ravo" >"$work/ravo.log" 2>&1 &
ravo=$!
four() { [ "$(on_screen | wc -w)" -ge 4 ]; }
wait_until 30 four || fail "xfce4-panel's row: $(on_screen), log: $(cat "$work/ravo.log")"
[ "$(on_screen)" = "ravo-memory ravo-cpu ravo-network ravo-ai-usage " ] ||
    fail "not in the user's order on xfce4-panel: $(on_screen)"
kill $ravo $panel $xfconf 2>/dev/null || true
wait $ravo 2>/dev/null || true

# waybar, as an ordinary user where this runs as root.
mkdir -p "$work/waybar" && chmod 755 "$work" && mkdir -p "$work/waybar/runtime"
if [ "$(id -u)" -eq 0 ]; then
    chown -R nobody "$work/waybar"
    setpriv --reuid=nobody --regid=nogroup --clear-groups --reset-env \
        env HOME="$work/waybar" dbus-run-session -- "$0" "$bin" --waybar "$work/waybar"
else
    dbus-run-session -- "$0" "$bin" --waybar "$work/waybar"
fi
echo "the row reads in the user's order on xfce4-panel and waybar, and after a settings change"
