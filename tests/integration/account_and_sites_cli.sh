#!/usr/bin/env bash
# `ravo account` and `ravo sites` as a user on a machine without a display meets them: a
# real ravo-server, a real SMTP server for the code, the token in a real Secret Service
# (GNOME Keyring, unlocked, on this session bus), and a loopback website going down.
# Run inside dbus-run-session.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
session_bus=${DBUS_SESSION_BUS_ADDRESS:?run this inside dbus-run-session}
use_temporary_home
export XDG_CONFIG_HOME=$HOME/.config
unset DISPLAY WAYLAND_DISPLAY
server='' smtp='' targets='' keyring=''
trap 'kill $server $smtp $targets $keyring 2>/dev/null || true; rm -rf "$work"' EXIT

smtp_port=$(free_port)
/usr/bin/python3 -m aiosmtpd -n -l "127.0.0.1:$smtp_port" -c aiosmtpd.handlers.Mailbox "$work/mail" \
    >"$work/smtp.log" 2>&1 &
smtp=$!
http_port=$(free_port)
start_targets "$http_port"
port=$(free_port)
database=sqlite:$work/ravo.db
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
    --check-allow-networks 127.0.0.1/32 \
    --smtp "smtp://127.0.0.1:$smtp_port" --mail-from ravo@example.org >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
wait_until 10 python3 -c "import socket; socket.create_connection(('127.0.0.1', $smtp_port))" 2>/dev/null ||
    fail "no SMTP server"

# QtKeychain keeps the service as "server" and the account as "user".
token_in_keyring() { secret-tool lookup server io.halvorsund.Ravo.cloud user device-token 2>/dev/null || true; }

# Without a session bus, so without a Secret Service: a clear error, and no token anywhere.
printf 'correct horse battery\n' | "$bin/ravo-server" user add ops@example.org --password-stdin \
    --database "$database" >/dev/null
if printf 'correct horse battery\n' | "$bin/ravo" account signin --server "http://127.0.0.1:$port" \
    --email ops@example.org --password-stdin >"$work/out" 2>"$work/err"; then
    fail "signed in without a secret store"
fi
grep -q "secret store" "$work/err" || fail "no clear error: $(cat "$work/err")"
! grep -rq "token" "$XDG_CONFIG_HOME" 2>/dev/null || fail "a token was written to the settings"

export DBUS_SESSION_BUS_ADDRESS=$session_bus
eval "$(printf 'test-password' | gnome-keyring-daemon --unlock --components=secrets 2>/dev/null)"
keyring=${GNOME_KEYRING_PID:-}

# Not signed in: a script asking for JSON gets an error object, and the command fails.
if "$bin/ravo" sites --json >"$work/out" 2>/dev/null; then fail "listed sites signed out"; fi
jq -e '.error.message | contains("Sign in")' "$work/out" >/dev/null ||
    fail "no error object: $(cat "$work/out")"

# Ctrl-D at the code prompt: the sign-in is cancelled, not refused as a wrong code.
status=0
"$bin/ravo" account signin --server "http://127.0.0.1:$port/" --email ada@example.org \
    </dev/null >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 1 ] || fail "end of input exited with $status: $(cat "$work/err")"
grep -q "Sign-in cancelled: no code was entered." "$work/err" || fail "$(cat "$work/err")"
! grep -q "wrong" "$work/err" || fail "end of input was taken for a code: $(cat "$work/err")"
[ -z "$(token_in_keyring)" ] || fail "a cancelled sign-in left a token"
find "$work/mail" -type f -delete # that attempt's code is not the next one's

# Sign in with a mailed code typed at the prompt.
mkfifo "$work/typed"
"$bin/ravo" account signin --server "http://127.0.0.1:$port/" --email ' ada@example.org ' \
    <"$work/typed" >"$work/signin.out" 2>"$work/signin.err" &
signin=$!
exec 3>"$work/typed"
mailed_code() { grep -rh 'sign-in code: [0-9]\{6\}' "$work/mail" 2>/dev/null | tail -n 1 | grep -o '[0-9]\{6\}'; }
wait_until 15 mailed_code >/dev/null || fail "no code mailed: $(cat "$work/signin.err")"
grep -q "We sent a 6-digit code to ada@example.org. It expires in 10 minutes." "$work/signin.err" ||
    fail "prompt: $(cat "$work/signin.err")"
echo "$(mailed_code)" >&3
exec 3>&-
wait "$signin" || fail "sign-in failed: $(cat "$work/signin.err")"
grep -q "Signed in as ada@example.org" "$work/signin.out" || fail "$(cat "$work/signin.out")"
token=$(token_in_keyring)
[ -n "$token" ] || fail "no token in the keyring"
! grep -rqF "$token" "$XDG_CONFIG_HOME" || fail "the token leaked into the settings"
"$bin/ravo" account status | grep -q "Signed in as ada@example.org" || fail "status"

# Sites: add, refuse, watch one go down, remove.
"$bin/ravo" sites add "http://127.0.0.1:$http_port/flap" --name Shop >"$work/out" ||
    fail "add: $(cat "$work/out")"
"$bin/ravo" sites add "http://127.0.0.1:$http_port/flap" 2>"$work/err" && fail "a duplicate was added"
grep -q "This address is already monitored." "$work/err" || fail "$(cat "$work/err")"
"$bin/ravo" sites add "ftp://example.org" 2>"$work/err" && fail "ftp was added"
grep -q "Enter a web address such as example.com" "$work/err" || fail "$(cat "$work/err")"
health() { "$bin/ravo" sites --json | jq -r '.[0].health'; }
is_health() { [ "$(health)" = "$1" ]; }
wait_until 20 is_health up || fail "the site did not come up: $("$bin/ravo" sites)"
echo 503 >"$work/targets/flap"
wait_until 30 is_health down || fail "the site did not go down: $("$bin/ravo" sites)"
"$bin/ravo" sites | grep -q "down .*Shop.*The server answered HTTP 503  down since [0-9][0-9]:[0-9][0-9]  checked " ||
    fail "$("$bin/ravo" sites)"
"$bin/ravo" sites remove "http://127.0.0.1:$http_port/flap" | grep -q Removed || fail "remove"
[ "$("$bin/ravo" sites --json)" = "[]" ] || fail "not removed"

# Sign out, then in with a password; a wrong one is refused in the user's words.
"$bin/ravo" account signout | grep -q "Signed out." || fail "signout"
[ -z "$(token_in_keyring)" ] || fail "the token stayed in the keyring"
printf 'wrong\n' | "$bin/ravo" account signin --email ops@example.org --password-stdin 2>"$work/err" &&
    fail "a wrong password signed in"
grep -q "Wrong email or password." "$work/err" || fail "$(cat "$work/err")"
printf 'correct horse battery\n' | "$bin/ravo" account signin --email ops@example.org \
    --password-stdin | grep -q "Signed in as ops@example.org" || fail "password sign-in"

# The account deleted from elsewhere: the next call signs this machine out.
curl -s -o /dev/null -X DELETE -H "Authorization: Bearer $(token_in_keyring)" "$api/me"
"$bin/ravo" sites 2>"$work/err" || true
grep -q "The sign-in expired or was revoked. Sign in again." "$work/err" || fail "$(cat "$work/err")"
[ -z "$(token_in_keyring)" ] || fail "a revoked token was kept"
"$bin/ravo" account status | grep -q "Not signed in" || fail "still signed in"
echo "signed in by code and by password from the terminal; sites added, watched and removed"
