#!/usr/bin/env bash
# A Secret Service that never answers (a stuck keyring daemon) holds nothing up: the tray
# items appear at once, the signed-in account resumes only when the store answers, and
# the commands that need the token give up after a few seconds with a clear error.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
use_temporary_home
use_desktop_session
ravo="" host="" secrets=""
trap 'kill $ravo $host $secrets $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

/usr/bin/python3 "$here/silent_secret_service.py" "$work/secrets.log" &
secrets=$!
wait_until 10 bus_has_name org.freedesktop.secrets || fail "the silent secret service did not start"
/usr/bin/python3 "$here/status_notifier_host.py" "$work/host.log" &
host=$!
wait_until 10 bus_has_name org.kde.StatusNotifierWatcher || fail "the host stand-in did not start"

"$bin/ravo" settings set combinedTrayItem true >/dev/null
started=$(date +%s%N)
"$bin/ravo" >"$work/log" 2>&1 &
ravo=$!
item() { grep -q '^item ' "$work/host.log"; }
# The old wait on the store took 25 s; a loaded machine still starts in far less than 5.
wait_until 25 item || fail "no tray item: $(cat "$work/log")"
took=$((($(date +%s%N) - started) / 1000000))
grep -q '^call ' "$work/secrets.log" || fail "Ravo never asked the secret store"
[ "$took" -lt 5000 ] || fail "the tray item took $took ms behind a silent secret store"
kill -0 $ravo || fail "ravo died: $(cat "$work/log")"
shown=$took

# The commands that need the token give up after a few seconds, saying why; they run
# while the app's own wait ends.
timed() { # name command...
    local name=$1 started status=0
    shift
    started=$(date +%s%N)
    timeout 20 "$bin/ravo" "$@" >"$work/$name.out" 2>"$work/$name.err" || status=$?
    echo "$status $((($(date +%s%N) - started) / 1000000))" >"$work/$name.result"
}
timed account account status &
timed sites sites &
wait_for_commands() { [ -s "$work/account.result" ] && [ -s "$work/sites.result" ]; }

# The app's wait ends too: logged, and the account counts as signed out.
timed_out() { grep -rqs "did not answer within" "$work/log" "$HOME/.local/state/ravo"; }
wait_until 15 timed_out || fail "no timeout logged: $(cat "$work/log")"
kill -0 $ravo || fail "ravo died at the timeout: $(cat "$work/log")"

wait_until 25 wait_for_commands || fail "the commands did not end"
for name in account sites; do
    read -r status took <"$work/$name.result"
    [ "$status" -ne 124 ] || fail "ravo $name still waits after 20 s"
    [ "$took" -lt 10000 ] || fail "ravo $name took $took ms"
    grep -q "secret store did not answer within" "$work/$name.err" ||
        fail "ravo $name said: $(cat "$work/$name.out" "$work/$name.err")"
done
[ "$(cut -d' ' -f1 "$work/sites.result")" -eq 1 ] || fail "ravo sites succeeded without the token"
echo "tray item after $shown ms; the store never answered; the commands gave up in time, saying why"
