#!/usr/bin/env bash
# `ravo hooks install` into configuration files that hold the user's own hooks, a scripted
# turn sent through the commands exactly as installed, then `ravo hooks uninstall`.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
mkdir -p "$HOME/.claude" "$HOME/.codex"
claude_original='{"model":"opus","permissions":{"allow":["Bash(npm test)"]},
 "hooks":{"PreToolUse":[{"matcher":"Bash","hooks":[{"type":"command","command":"audit.sh"}]}],
          "Stop":[{"matcher":"","hooks":[{"type":"command","command":"say done","timeout":3}]}]}}'
codex_original='{"hooks":{"Stop":[{"hooks":[{"type":"command","command":"notify.sh"}]}]},"x":1}'
printf '%s\n' "$claude_original" >"$HOME/.claude/settings.json"
printf '%s\n' "$codex_original" >"$HOME/.codex/hooks.json"

[ "$("$bin/ravo" sessions)" = "No agent sessions. Turn tracking on with \`ravo hooks install\`." ] ||
    fail "without tracking: $("$bin/ravo" sessions)"
"$bin/ravo" hooks install >/dev/null
[ "$("$bin/ravo" sessions)" = "No agent sessions right now." ] ||
    fail "with tracking on, still told to turn it on: $("$bin/ravo" sessions)"
"$bin/ravo" hooks status | grep -q "Claude Code: hooks installed and current" || fail "status"
jq -e '.hooks.Stop | length == 2 and .[0].hooks[0].command == "say done"' \
    "$HOME/.claude/settings.json" >/dev/null || fail "the user's Stop hook moved"

# Runs every handler the agent would run for an event, with the payload on stdin.
fire() { # agent file event payload
    local commands
    commands=$(jq -r --arg e "$3" '.hooks[$e][]?.hooks[]?.command' "$2" | grep ravo-hook || true)
    [ -n "$commands" ] || fail "no Ravo hook for $3 in $2"
    while IFS= read -r command; do
        out=$(sh -c "$command" <<<"$4")
        [ -z "$out" ] || fail "the hook printed \"$out\""
    done <<<"$commands"
}
record() { cat "$HOME/.local/share/ravo/Sessions/$1.json" 2>/dev/null || echo '{"state":"gone"}'; }
payload() { # id event extra-json
    jq -nc --arg id "$1" --arg e "$2" --arg cwd "$HOME/work/shop" --argjson x "${3:-{\}}" \
        '{session_id:$id, cwd:$cwd, hook_event_name:$e, transcript_path:"/tmp/t"} + $x'
}
settings="$HOME/.claude/settings.json"
fire claude "$settings" UserPromptSubmit "$(payload s1 UserPromptSubmit '{"prompt":"Add a cart\nwith tests"}')"
[ "$(record claude-s1 | jq -r '.state + "|" + .title + "|" + .project')" = "running|Add a cart|shop" ] ||
    fail "after the prompt: $(record claude-s1)"
fire claude "$settings" Notification "$(payload s1 Notification '{"notification_type":"permission_prompt"}')"
[ "$(record claude-s1 | jq -r .state)" = waiting ] || fail "after the permission prompt"
fire claude "$settings" PostToolUse "$(payload s1 PostToolUse '{"tool_name":"Bash"}')"
[ "$(record claude-s1 | jq -r .state)" = running ] || fail "after the tool ran"
fire claude "$settings" Stop "$(payload s1 Stop '{"stop_hook_active":false}')"
[ "$(record claude-s1 | jq -r .state)" = done ] || fail "after Stop"
fire claude "$settings" Notification "$(payload s1 Notification '{"notification_type":"idle_prompt"}')"
[ "$(record claude-s1 | jq -r .state)" = done ] || fail "the idle reminder woke a done session"
fire codex "$HOME/.codex/hooks.json" UserPromptSubmit "$(payload c1 UserPromptSubmit '{"prompt":"Port it"}')"
fire codex "$HOME/.codex/hooks.json" PermissionRequest "$(payload c1 PermissionRequest)"
[ "$(record codex-c1 | jq -r .state)" = waiting ] || fail "codex permission request"

listed=$("$bin/ravo" sessions --json | jq -r '[.[].sessionID] | join(",")')
[ "$listed" = "c1,s1" ] || fail "sessions newest first: $listed"
fire claude "$settings" SessionEnd "$(payload s1 SessionEnd '{"reason":"other"}')"
[ "$(record claude-s1 | jq -r .state)" = gone ] || fail "SessionEnd left the record"
"$bin/ravo" status --json | jq -e '.sessions | length == 1' >/dev/null || fail "status sessions"

"$bin/ravo" hooks uninstall >/dev/null
jq -e --argjson o "$claude_original" '. == $o' "$settings" >/dev/null ||
    fail "claude settings not restored: $(cat "$settings")"
jq -e --argjson o "$codex_original" '. == $o' "$HOME/.codex/hooks.json" >/dev/null ||
    fail "codex hooks not restored: $(cat "$HOME/.codex/hooks.json")"
[ -f "$settings.ravo-backup" ] || fail "no backup"
echo "hooks installed, a scripted turn tracked, and the files restored"
