#!/usr/bin/env bash
# The real Claude Code and Codex, offline and signed out: Claude's `/usage` has no limits
# lines, and `codex app-server` sends notifications and then rejects the request.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
link_real_agents
mkdir -p "$HOME/.config/ravo"
printf '[General]\nclaudeUsageCommand=true\n' >"$HOME/.config/ravo/ravo.conf"

status=$(QT_LOGGING_RULES="io.halvorsund.Ravo.*=true" "$bin/ravo" status --json 2>"$work/log")
grep -q "Claude Code's /usage reported no limits" "$work/log" ||
    fail "the probe did not read the real /usage answer: $(cat "$work/log")"
jq -e '.usage.providers[0].setup == "claudeCodeSignedOut"' <<<"$status" >/dev/null ||
    fail "claude: $(jq -c '.usage.providers[0]' <<<"$status")"
jq -e '.usage.providers[1].error == "Codex rejected the rate limit request"' <<<"$status" \
    >/dev/null || fail "codex: $(jq -c '.usage.providers[1]' <<<"$status")"
echo "real agents: /usage without limits read, app-server's rejection reported"
