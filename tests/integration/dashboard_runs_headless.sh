#!/usr/bin/env bash
# `ravo` without a display, its output not a terminal: plain frames without key hints, and
# q or Ctrl-C quit.
set -euo pipefail
ravo=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
unset DISPLAY WAYLAND_DISPLAY

mkfifo "$work/keys"
env "$ravo" <"$work/keys" >"$work/screen" 2>"$work/errors" &
pid=$!
exec 3>"$work/keys"
sleep 3
printf q >&3
for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then kill -9 $pid; echo "FAIL: q did not quit" >&2; exit 1; fi
wait $pid || { echo "FAIL: exit status $?" >&2; exit 1; }
exec 3>&-
grep -q "Processor" "$work/screen" || { echo "FAIL: no Processor line" >&2; exit 1; }
# No one at a pipe can press the keys a hint would name.
! grep -q "Press q" "$work/screen" || { echo "FAIL: a key hint in piped output" >&2; exit 1; }
frames=$(grep -c "^Ravo " "$work/screen")
[ "$frames" -ge 2 ] || { echo "FAIL: $frames frame(s) in 3 s" >&2; exit 1; }

mkfifo "$work/idle"
"$ravo" <"$work/idle" >/dev/null 2>&1 &
pid=$!
exec 4>"$work/idle"
sleep 1
kill -INT $pid
for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then kill -9 $pid; echo "FAIL: Ctrl-C did not quit" >&2; exit 1; fi
wait $pid || { echo "FAIL: exit status after Ctrl-C" >&2; exit 1; }
exec 4>&-
echo "dashboard drew $frames frames and quit cleanly"
