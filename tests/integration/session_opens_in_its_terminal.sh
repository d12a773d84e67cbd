#!/usr/bin/env bash
# Opening a session brings its terminal forward: an agent in one tmux window, Ravo's
# dashboard in another; Enter on the session selects the agent's window and pane.
set -Eeuo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
command -v tmux >/dev/null || fail "tmux is not installed (scripts/install-deps.sh --tests)"
socket=$work/tmux.sock
term() { tmux -S "$socket" "$@"; }
trap 'term kill-server 2>/dev/null || true; rm -rf "$work"' EXIT
trap 'echo "FAIL: line $LINENO: $BASH_COMMAND" >&2' ERR

mkdir -p "$HOME/.claude"
"$bin/ravo" hooks install >/dev/null || fail "tracking did not turn on"

# The hook runs inside the agent's pane, with the environment tmux gives the agent, and a
# prompt as Claude Code sends it.
mkdir -p "$HOME/shop"
cat >"$work/prompt.json" <<JSON
{"session_id":"open-1","transcript_path":"$HOME/t.jsonl","cwd":"$HOME/shop",
 "hook_event_name":"UserPromptSubmit","prompt":"Add a cart"}
JSON
term -f /dev/null new-session -d -s work -n agent -x 100 -y 30 \
    "env HOME=$HOME $bin/ravo-hook claude <$work/prompt.json; sleep 600"
term split-window -t work:agent "sleep 600" # the agent's pane is no longer the active one
recorded() { ls "$HOME"/.local/share/ravo/Sessions/ 2>/dev/null | grep -q 'claude-open-1.place'; }
wait_until 10 recorded || fail "no place beside the record: $(find "$HOME" -name '*open-1*')"
pane=$(term display-message -p -t work:agent.0 '#{pane_id}')
grep -q "\"tmuxPane\":\"$pane\"" "$HOME"/.local/share/ravo/Sessions/claude-open-1.place ||
    fail "the place names another pane: $(cat "$HOME"/.local/share/ravo/Sessions/claude-open-1.place)"

term new-window -t work -n dash "env -u DISPLAY -u WAYLAND_DISPLAY HOME=$HOME $bin/ravo; sleep 30"
screen() { term capture-pane -p -t work:dash; }
shows() { screen | grep -qF -- "$1"; }
wait_until 20 shows "shop" || fail "the dashboard does not list the session: $(screen)"
[ "$(term display-message -p -t work '#{window_name}')" = dash ] || fail "not on the dashboard"

term send-keys -t work:dash Tab Tab
wait_until 5 shows "▸ Agent sessions" || fail "Tab did not reach the sessions: $(screen)"
term send-keys -t work:dash Enter
on_agent() { [ "$(term display-message -p -t work '#{window_name}')" = agent ]; }
wait_until 5 on_agent || fail "Enter did not bring the agent's window forward"
[ "$(term display-message -p -t work:agent '#{pane_id}')" = "$pane" ] ||
    fail "the agent's window shows another pane"
echo "Enter on the session selected the agent's tmux window and pane"
