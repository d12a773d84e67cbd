#!/usr/bin/env bash
# Opening a session raises the X11 terminal its agent runs in: xterm gives the agent its
# window's id in WINDOWID, and another window lies over that window.
set -Eeuo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
use_desktop_session
command -v xterm >/dev/null || fail "xterm is not installed (scripts/install-deps.sh --tests)"
agent="" cover="" ravo=""
trap 'kill $agent $cover $ravo $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
trap 'echo "FAIL: line $LINENO: $BASH_COMMAND" >&2' ERR

mkdir -p "$HOME/.claude" "$HOME/shop"
"$bin/ravo" hooks install >/dev/null || fail "tracking did not turn on"
cat >"$work/prompt.json" <<JSON
{"session_id":"x11-1","transcript_path":"$HOME/t.jsonl","cwd":"$HOME/shop",
 "hook_event_name":"UserPromptSubmit","prompt":"Add a cart"}
JSON
xterm -geometry 80x24+0+0 -T agent -e sh -c "$bin/ravo-hook claude <$work/prompt.json; sleep 600" &
agent=$!
place=$HOME/.local/share/ravo/Sessions/claude-x11-1.place
wait_until 20 grep -q x11Window "$place" 2>/dev/null || fail "no window beside the record"

# Without a window manager the last window mapped is on top.
xmessage -geometry 600x400+0+0 -name cover "over the agent's terminal" &
cover=$!
# Top-level windows top first, by title and class: the terminal, the cover, Ravo's window.
stacking() { xwininfo -root -children | grep -oE '"(agent|cover)": \(|"Ravo": \("ravo"' | cut -d'"' -f2; }
on_top() { [ "$(stacking | head -n 1)" = "$1" ]; }
wait_until 10 on_top cover || fail "the cover is not on top: $(stacking)"

# Ravo with no tray shows its overview window, over both.
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
running() { grep -q "Sessions: claude-x11-1" "$work/log" && on_top Ravo; }
wait_until 20 running || fail "Ravo did not start: $(stacking) $(cat "$work/log")"
"$bin/ravo" ravo://session/claude/x11-1
wait_until 10 on_top agent || fail "the agent's terminal is not in front: $(stacking) $(cat "$work/log")"
sleep 0.5
on_top agent || fail "something came over the terminal right after: $(stacking)"
echo "the session's link raised the xterm the agent runs in, and nothing came over it"
