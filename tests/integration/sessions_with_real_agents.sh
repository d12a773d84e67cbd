#!/usr/bin/env bash
# A real Claude Code turn against a loopback stand-in for the model API, with Ravo's hooks
# installed: each hook event's effect on the record is logged by a wrapper around
# ravo-hook. Then the real `codex app-server` lists Ravo's hooks for the trust check.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
use_temporary_home
trap 'kill $server 2>/dev/null || true; rm -rf "$work"' EXIT
link_real_agents
mkdir -p "$HOME/.claude" "$HOME/.codex" "$HOME/app" "$HOME/project"

# Ravo as installed in a folder of its own, with a ravo-hook that notes each state.
cp "$bin/ravo" "$HOME/app/ravo"
cat >"$HOME/app/ravo-hook" <<WRAPPER
#!/bin/sh
input=\$(cat)
printf '%s' "\$input" | "$bin/ravo-hook" "\$@"
event=\$(printf '%s' "\$input" | jq -r .hook_event_name)
state=\$(cat "$HOME"/.local/share/ravo/Sessions/claude-*.json 2>/dev/null | jq -r .state)
echo "\$event \${state:-gone}" >>"$HOME/states.log"
WRAPPER
chmod +x "$HOME/app/ravo-hook"
"$HOME/app/ravo" hooks install >/dev/null

node "$here/model_stand_in.js" >"$work/port" &
server=$!
for _ in $(seq 50); do [ -s "$work/port" ] && break; sleep 0.1; done
port=$(head -n 1 "$work/port")
(cd "$HOME/project" && ANTHROPIC_BASE_URL="http://127.0.0.1:$port" ANTHROPIC_API_KEY=sk-ravo-test \
    timeout 120 "$HOME/.local/bin/claude" -p "Say done" >"$work/answer" 2>&1) ||
    fail "claude did not finish: $(cat "$work/answer")"
grep -q "Done." "$work/answer" || fail "unexpected answer: $(cat "$work/answer")"
expected=$'UserPromptSubmit running\nStop done\nSessionEnd gone'
[ "$(cat "$HOME/states.log")" = "$expected" ] || fail "states: $(cat "$HOME/states.log")"

status=$("$HOME/app/ravo" hooks status)
grep -q "Codex hooks need approval" <<<"$status" ||
    fail "the trust check did not count Ravo's untrusted hooks: $status"
echo "a real Claude Code turn went running, done, gone; codex lists Ravo's hooks as untrusted"
