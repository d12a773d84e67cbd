#!/usr/bin/env bash
# The website list with several writers, as users meet it: the real ravo-server, a running
# Ravo (the terminal dashboard), `ravo sites` and a second computer of the same account.
# Each writer changes the list as the server has it then, none writes back a list it read
# earlier; and with the server away `ravo sites` fails without claiming or keeping anything.
# Run inside dbus-run-session.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home_on_session_bus
export XDG_CONFIG_HOME=$HOME/.config XDG_RUNTIME_DIR=$work/run
mkdir -m 700 "$XDG_RUNTIME_DIR"
unset DISPLAY WAYLAND_DISPLAY
server='' keyring='' ravo=''
trap 'kill $ravo $server $keyring 2>/dev/null || true; rm -rf "$work"' EXIT
start_keyring

start_plain_server "$bin"
second=$(password_token "$bin" ada@example.org) # the other computer's token
printf 'correct horse battery\n' | "$bin/ravo" account signin --server "http://127.0.0.1:$port" \
    --email ada@example.org --password-stdin >/dev/null || fail "sign-in"
on_server() { curl -s -H "Authorization: Bearer $second" "$api/sites/sync"; }
sites_on_server() { on_server | jq length; }

# New sites get the interval setting, whoever adds them.
"$bin/ravo" settings list | grep -q '^websiteCheckIntervalMinutes' ||
    fail "the interval is not a setting: $("$bin/ravo" settings list)"
"$bin/ravo" settings set websiteCheckIntervalMinutes 7
"$bin/ravo" sites add shop.example --name Shop >/dev/null || fail "add shop"
"$bin/ravo" sites add blog.example >/dev/null || fail "add blog"
[ "$(on_server | jq -c '[.[].interval_minutes]')" = "[7,7]" ] ||
    fail "the setting was not the interval: $(on_server)"

QT_LOGGING_RULES='io.halvorsund.Ravo.*=true' "$bin/ravo" >"$work/ravo.out" 2>"$work/ravo.log" &
ravo=$!
wait_until 20 grep -q 'Connection state changed' "$work/ravo.log" ||
    fail "Ravo did not start: $(tail "$work/ravo.log")"

# The other computer makes it 120 sites, writing the whole list as older clients do.
many=$(on_server | jq -c '. + [range(118) | {id: ("7a1c0d2e-3f4a-4b5c-8d6e-" +
    ("000000000000" + tostring)[-12:]), url: "https://site\(.).example/", name: "",
    enabled: true, interval_minutes: 9}]')
curl -sf -o /dev/null -X PUT -H "Authorization: Bearer $second" \
    -H 'Content-Type: application/json' --data-binary "$many" "$api/sites/sync" || fail "PUT"
[ "$(sites_on_server)" = 120 ] || fail "the other computer's list was not kept"
[ "$("$bin/ravo" sites --json | jq length)" = 120 ] || fail "ravo sites shows this computer's old list"

# This computer's `ravo sites add` adds to those 120; the running Ravo takes the list.
"$bin/ravo" sites add docs.example >"$work/out" || fail "add docs"
grep -q '^Added https://docs.example' "$work/out" || fail "$(cat "$work/out")"
[ "$(sites_on_server)" = 121 ] || fail "the add dropped sites: $(sites_on_server) left"
wait_until 10 grep -q 'The website list changed outside this Ravo: 121 sites' "$work/ravo.log" ||
    fail "the running Ravo kept its own list: $(grep -i website "$work/ravo.log" | tail)"

# The other computer adds one more; then the running Ravo writes (the interval of every
# site): to the list as it is now.
tag=$(curl -s -D - -o "$work/list" -H "Authorization: Bearer $second" "$api/sites/sync" |
    tr -d '\r' | sed -n 's/^[Ee][Tt][Aa][Gg]: //p')
[ -n "$tag" ] || fail "no ETag on the list"
jq -c '. + [{id: "7a1c0d2e-3f4a-4b5c-8d6e-999999999999", url: "https://late.example/",
    name: "Late", enabled: true, interval_minutes: 9}]' "$work/list" >"$work/more"
[ "$(curl -s -o /dev/null -w '%{http_code}' -X PUT -H "Authorization: Bearer $second" \
    -H "If-Match: $tag" -H 'Content-Type: application/json' --data-binary @"$work/more" \
    "$api/sites/sync")" = 200 ] || fail "a write on the current tag was refused"
[ "$(curl -s -o /dev/null -w '%{http_code}' -X PUT -H "Authorization: Bearer $second" \
    -H "If-Match: $tag" -H 'Content-Type: application/json' --data-binary @"$work/list" \
    "$api/sites/sync")" = 412 ] || fail "a write on an old tag was taken"
"$bin/ravo" settings set websiteCheckIntervalMinutes 11
all_at_11() { [ "$(on_server | jq -c '[length, ([.[].interval_minutes] | unique)]')" = '[122,[11]]' ]; }
wait_until 10 all_at_11 || fail "the running Ravo's write lost or missed sites: $(on_server | jq -c '[length, ([.[].interval_minutes] | unique)]')"
sleep 1
all_at_11 || fail "a writer brought an old list back"

# The server away: adding and removing fail, say why, claim nothing and keep nothing.
kill $server
wait $server 2>/dev/null || true
before=$("$bin/ravo" sites --local)
status=0
"$bin/ravo" sites add down.example >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 1 ] || fail "add exited with $status"
grep -q "The Ravo server can't be reached." "$work/err" || fail "$(cat "$work/err")"
[ ! -s "$work/out" ] || fail "a failed add claimed: $(cat "$work/out")"
status=0
"$bin/ravo" sites remove shop.example >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 1 ] && [ ! -s "$work/out" ] || fail "remove: $status $(cat "$work/out")"
[ "$("$bin/ravo" sites --local)" = "$before" ] || fail "this computer's list changed"
start_plain_server "$bin"
[ "$(sites_on_server)" = 122 ] || fail "the server's list changed"
! on_server | grep -q down.example || fail "the failed add reached the server later"
"$bin/ravo" sites remove shop.example | grep -q '^Removed https://shop.example' || fail "remove"
[ "$(sites_on_server)" = 121 ] || fail "remove took more than the site"
kill -0 $ravo || fail "Ravo died"
echo "every writer changed the list as the server had it; a server away failed the command"
