#!/usr/bin/env bash
# Ravo on an X desktop with a tray: the AI item and one item per metric appear, a second
# `ravo` hands over to the first and brings up the usage popover, and the desktop entry's
# link form is passed on. Without a tray the dashboard window stands in.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
use_desktop_session
ravo="" tray=""
trap 'kill $ravo $tray $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

start_tray
show_all_metrics "$bin/ravo"
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
has_items() { [ "$(tray_items)" -eq 7 ]; }
wait_until 20 has_items || fail "tray items: $(tray_items), log: $(cat "$work/log")"

popover_shown() { xwininfo -root -tree | grep '"Ravo": ("ravo" "Ravo")' | grep -qv '+0+0  +'; }
"$bin/ravo" || fail "the second ravo failed"
kill -0 $ravo || fail "the first ravo died"
wait_until 15 popover_shown || fail "no usage popover after the second ravo"
"$bin/ravo" "ravo://session/claude/not-there" || fail "handing over a link failed"
kill -0 $ravo || fail "the first ravo died on a link"

kill $ravo
wait $ravo || true
kill $tray
wait $tray 2>/dev/null || true
"$bin/ravo" >"$work/log2" 2>&1 &
ravo=$!
dashboard() { xwininfo -root -tree | grep -Eq '"Ravo": \("ravo" "Ravo"\)  ([5-9][0-9]{2}|1[0-9]{3})x'; }
wait_until 20 dashboard || fail "no dashboard window without a tray: $(xwininfo -root -tree | grep Ravo), log: $(cat "$work/log2")"
echo "seven tray items; the second ravo showed the popover; without a tray, the window"
