#!/usr/bin/env bash
# `ravo statusline install` over a user's own status line keeps it showing, and
# `ravo statusline uninstall` puts it back; a broken settings file is left untouched.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
mkdir -p "$HOME/.claude"
original='{"statusLine":{"type":"command","command":"printf MINE","padding":1},"model":"opus","hooks":{}}'
printf '%s\n' "$original" >"$HOME/.claude/settings.json"

"$bin/ravo" statusline install | grep -q "your own status line keeps showing" || fail "install text"
command=$(jq -r '.statusLine.command' "$HOME/.claude/settings.json")
[ "$command" = "'$bin/ravo-hook' statusline" ] || fail "installed command: $command"
[ "$(jq '.statusLine.padding' "$HOME/.claude/settings.json")" = 1 ] || fail "padding lost"
shown=$(sh -c "$command" <<<'{"model":{"display_name":"Opus"}}')
[ "$shown" = "MINE" ] || fail "the user's status line shows \"$shown\""
[ "$("$bin/ravo" settings get claudeStatusLineEnabled)" = true ] || fail "install not kept"

"$bin/ravo" statusline uninstall | grep -q "put your own back" || fail "uninstall text"
jq -e --argjson o "$original" '. == $o' "$HOME/.claude/settings.json" >/dev/null ||
    fail "settings differ after uninstall: $(cat "$HOME/.claude/settings.json")"
# The choice is kept, so a Ravo started later does not put the status line back.
[ "$("$bin/ravo" settings get claudeStatusLineEnabled)" = false ] || fail "uninstall not kept"

printf '{"statusLine": ' >"$HOME/.claude/settings.json"
before=$(sha256sum "$HOME/.claude/settings.json")
if "$bin/ravo" statusline install 2>"$work/error"; then fail "installed into a broken file"; fi
grep -q "settings.json" "$work/error" || fail "the error does not name the file"
[ "$(sha256sum "$HOME/.claude/settings.json")" = "$before" ] || fail "broken file was changed"
echo "install keeps the user's status line showing; uninstall restores it"
