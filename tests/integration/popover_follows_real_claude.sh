#!/usr/bin/env bash
# The tray app follows a real Claude Code turn: with session tracking on, each hook event
# reaches the app's session list (what the popover shows) within a second. A wrapper around
# ravo-hook waits for the app after every event and notes how long it took.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
use_temporary_home
use_desktop_session
trap 'kill $ravo $tray $server $x_server 2>/dev/null || true; rm -rf "$work"' EXIT
link_real_agents
mkdir -p "$HOME/.claude" "$HOME/app" "$HOME/shop"
cp "$bin/ravo" "$HOME/app/ravo"
cat >"$HOME/app/ravo-hook" <<WRAPPER
#!/bin/sh
input=\$(cat)
printf '%s' "\$input" | "$bin/ravo-hook" "\$@"
event=\$(printf '%s' "\$input" | jq -r .hook_event_name)
case "\$event" in
UserPromptSubmit) want="=running" ;;
Stop) want="=done" ;;
SessionEnd) want="Sessions: none" ;;
*) exit 0 ;;
esac
start=\$(date +%s%N)
for i in \$(seq 100); do
    tail -n 1 "$work/app.log" 2>/dev/null | grep -q -- "\$want" && break
    sleep 0.01
done
echo "\$event \$(( (\$(date +%s%N) - start) / 1000000 ))" >>"$work/delays"
WRAPPER
chmod +x "$HOME/app/ravo-hook"
"$HOME/app/ravo" hooks install >/dev/null

start_tray
show_all_metrics "$bin/ravo"
QT_LOGGING_RULES="io.halvorsund.Ravo.app.info=true" QT_MESSAGE_PATTERN="%{message}" \
    "$HOME/app/ravo" >"$work/app.log" 2>&1 &
ravo=$!
has_items() { [ "$(tray_items)" -eq 7 ]; }
wait_until 10 has_items || fail "the app did not come up: $(cat "$work/app.log")"
node "$here/model_stand_in.js" >"$work/port" &
server=$!
wait_until 5 test -s "$work/port" || fail "the model stand-in did not start"
(cd "$HOME/shop" && ANTHROPIC_BASE_URL="http://127.0.0.1:$(head -n 1 "$work/port")" \
    ANTHROPIC_API_KEY=sk-ravo-test timeout 120 "$HOME/.local/bin/claude" -p "Say done" \
    >"$work/answer" 2>&1) || fail "claude did not finish: $(cat "$work/answer")"
cat "$work/delays"
[ "$(cut -d' ' -f1 "$work/delays" | tr '\n' ' ')" = "UserPromptSubmit Stop SessionEnd " ] ||
    fail "events: $(cat "$work/delays")"
while read -r event ms; do
    [ "$ms" -lt 1000 ] || fail "$event reached the app after $ms ms: $(cat "$work/app.log")"
done <"$work/delays"
grep -q "claude-.*=running" "$work/app.log" || fail "the app never showed the running session"
echo "the app followed the real turn: $(tr '\n' ' ' <"$work/delays")(ms)"
