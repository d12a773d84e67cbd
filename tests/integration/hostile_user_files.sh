#!/usr/bin/env bash
# Every command that touches the agents' files, and the app at start, against files a real
# machine may hold: a number Claude Code accepts but a double does not, absurd nesting, a
# dotfiles symlink, a read-only file. Nothing crashes, each says why, nothing is lost.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
mkdir -p "$HOME/.claude" "$HOME/.codex"
settings=$HOME/.claude/settings.json
hooks=$HOME/.codex/hooks.json

nested() { # levels
    python3 -c "import sys; n=int(sys.argv[1]); sys.stdout.write('{\"a\":' + '['*n + '1' + ']'*n + '}')" "$1"
}

commands=("hooks status" "hooks install" "hooks uninstall" "statusline install" "statusline uninstall")
for case in overflow deep deeper; do
    case $case in
    overflow) printf '{"x":1e400}\n' ;;
    deep) nested 10000 ;;
    deeper) nested 100000 ;;
    esac >"$settings"
    cp "$settings" "$hooks"
    before=$(sha256sum "$settings" "$hooks")
    for command in "${commands[@]}"; do
        status=0
        # shellcheck disable=SC2086
        "$bin/ravo" $command >"$work/out" 2>"$work/error" || status=$?
        [ "$status" -lt 128 ] || fail "ravo $command died on the $case file (status $status)"
        if [ "$command" != "hooks status" ]; then
            [ "$status" -ne 0 ] || fail "ravo $command succeeded on the $case file"
        fi
        grep -q "settings.json\|hooks.json" "$work/out" "$work/error" ||
            fail "ravo $command on the $case file does not name the file: $(cat "$work/out" "$work/error")"
        [ "$(sha256sum "$settings" "$hooks")" = "$before" ] || fail "ravo $command changed the $case file"
    done
done
[ ! -e "$settings.ravo-backup" ] || fail "a backup of a file Ravo cannot read"

# The app at start reads the same files: it must come up and stay up.
status=0
timeout 5 "$bin/ravo" status >/dev/null 2>"$work/error" || status=$?
[ "$status" -eq 0 ] || fail "ravo status with the deep files: status $status, $(cat "$work/error")"

# A dotfiles manager's symlink stays a symlink, and the edit lands in its target.
rm -f "$settings" "$hooks"
mkdir -p "$HOME/dotfiles"
printf '{"model":"opus"}\n' >"$HOME/dotfiles/settings.json"
chmod 600 "$HOME/dotfiles/settings.json"
ln -s ../dotfiles/settings.json "$settings"
"$bin/ravo" statusline install >/dev/null || fail "install through a symlink"
[ -L "$settings" ] || fail "the symlink was replaced by a plain file"
jq -e '.statusLine.command and .model == "opus"' "$HOME/dotfiles/settings.json" >/dev/null ||
    fail "the link's target was not edited: $(cat "$HOME/dotfiles/settings.json")"
[ "$(stat -c %a "$HOME/dotfiles/settings.json")" = 600 ] || fail "the target's mode changed"

# A read-only file is the user's word: refused with the reason, left as it is.
rm "$settings"
printf '{"model":"opus"}\n' >"$settings"
chmod 444 "$settings"
before=$(sha256sum "$settings")
if "$bin/ravo" statusline install >/dev/null 2>"$work/error"; then fail "wrote a read-only file"; fi
grep -q "permission denied" "$work/error" || fail "no reason given: $(cat "$work/error")"
[ "$(sha256sum "$settings")" = "$before" ] || fail "the read-only file changed"

# A synced folder shared with others: a link and a pipe at the settings file's name are
# named in `ravo settings list`, which neither follows nor waits on them.
shared=$work/Shared
mkdir -p "$shared/Ravo"
echo "my own notes" >"$work/notes.txt"
ln -s "$work/notes.txt" "$shared/Ravo/settings.json"
"$bin/ravo" settings set settingsSyncFolder "$shared" >/dev/null
"$bin/ravo" settings set iCloudSettingsSyncEnabled on >/dev/null
"$bin/ravo" settings list >"$work/list"
grep -q '^Settings sync: Ravo/settings.json in the sync folder is not a plain file' "$work/list" ||
    fail "the link was not named: $(tail -3 "$work/list")"
rm "$shared/Ravo/settings.json"
mkfifo "$shared/Ravo/settings.json"
timeout 10 "$bin/ravo" settings list >"$work/list" || fail "settings list hung on a pipe"
grep -q '^Settings sync: .*not a plain file' "$work/list" || fail "the pipe was not named"
[ "$(cat "$work/notes.txt")" = "my own notes" ] || fail "the link's target changed"
echo "hostile and unusual user files: refused with reasons, links and modes kept, nothing lost"
