#!/usr/bin/env bash
# ravo-server as a stranger with an account tries it, on loopback, over SQLite or a real
# PostgreSQL ($2): checks of addresses inside the server's network, guessing passwords and
# mailed codes from many addresses at once, redeeming one code twice, account discovery by
# timing, and the server's Telegram bot as a way to write to chats.
set -euo pipefail
bin=$1
kind=$2
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
server='' smtp='' targets='' telegram=''
trap 'kill $server $smtp $targets $telegram 2>/dev/null || true; [ -n "${passed:-}" ] || cat "$work/server.log" >&2; stop_postgres; rm -rf "$work"' EXIT

case $kind in
sqlite) database=sqlite:$work/ravo.db ;;
postgresql) start_postgres ;;
*) fail "usage: $0 BIN sqlite|postgresql" ;;
esac
smtp_port=$(free_port)
/usr/bin/python3 -m aiosmtpd -n -l "127.0.0.1:$smtp_port" -c aiosmtpd.handlers.Mailbox "$work/mail" \
    >"$work/smtp.log" 2>&1 &
smtp=$!
http_port=$(free_port)
start_targets "$http_port" "$http_port@127.0.0.2"
telegram_port=$(free_port)
python3 "$here/telegram_stand_in.py" "$telegram_port" "$work/telegram.log" &
telegram=$!
port=$(free_port)
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
    --check-timeout 2 --check-allow-networks 127.0.0.2/32 --threads 8 \
    --smtp "smtp://127.0.0.1:$smtp_port" --mail-from ravo@example.org \
    --telegram-api "http://127.0.0.1:$telegram_port" >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
wait_until 10 python3 -c "import socket; socket.create_connection(('127.0.0.1', $smtp_port))" 2>/dev/null ||
    fail "the SMTP server did not start: $(cat "$work/smtp.log")"

# Requests from many loopback addresses at once: rows of "url method body source" on stdin.
crowd() {
    python3 -c '
import json, sys
rows = [line.rstrip("\n").split("\t") for line in sys.stdin if line.strip()]
print(json.dumps([{"url": u, "method": m, "body": b, "source": s} for u, m, b, s in rows]))' |
        python3 "$here/parallel_requests.py"
}
count_of() { # jq filter over the crowd's answers in $work/crowd
    jq -s "[.[] | select($1)] | length" "$work/crowd"
}

# --- Checks reach the public internet and the networks the operator opened, nothing else.
site() { # n url
    printf '{"id":"00000000-0000-4000-8000-0000000000%02d","url":"%s","name":"Site %s","enabled":true,"interval_minutes":1}' \
        "$1" "$2" "$1"
}
inward=("http://127.0.0.1:$http_port/ok" "http://[::1]:$http_port/ok"
    "http://169.254.169.254/latest/meta-data/" "http://0.0.0.0:$http_port/ok"
    "http://2130706433:$http_port/ok" "http://0177.0.0.1:$http_port/ok"
    "http://localhost:$http_port/ok" "http://[::ffff:127.0.0.1]:$http_port/ok"
    "http://10.0.0.1/" "http://100.64.0.1/" "http://[fd00::1]/" "http://[fe80::1]/"
    "http://127.0.0.2:$http_port/redirect?to=http://127.0.0.1:$http_port/ok")
sites="[$(site 0 "http://127.0.0.2:$http_port/ok")"
for i in "${!inward[@]}"; do sites+=",$(site $((i + 1)) "${inward[$i]}")"; done
sites+="]"
token=$(password_token "$bin" mallory@example.org)
listed_tag() { tr -d '\r' <"$work/headers" | sed -n 's/^[Ee][Tt][Aa][Gg]: //p'; }
expect "$(call GET sites/sync "" "$token")" 200
empty_tag=$(listed_tag)
expect "$(call PUT sites/sync "$sites" "$token")" 200

# --- An unchanged list costs a 304 and no body, whatever else If-None-Match holds.
if_none_match() {
    rm -f "$work/body"
    curl -s -o "$work/body" -w '%{http_code}' -H "Authorization: Bearer $token" \
        -H "If-None-Match: $1" "$api/sites/sync"
}
expect "$(call GET sites/sync "" "$token")" 200
tag=$(listed_tag)
for unchanged in "$tag" "$empty_tag, $tag" '*'; do
    [ "$(if_none_match "$unchanged")" = 304 ] && [ ! -e "$work/body" ] ||
        fail "If-None-Match: $unchanged sent the list again"
done
long=$(printf '"sites-1", %.0s' $(seq 100))
for changed in "$empty_tag" '"sites-"' '"sites-99999999999999999999"' "$long$tag" \
    "${tag%\"}0\""; do
    [ "$(if_none_match "$changed")" = 200 ] && [ "$(jq length "$work/body")" = $((${#inward[@]} + 1)) ] ||
        fail "If-None-Match: ${changed:0:40} did not get the list: $(head -c 200 "$work/body")"
done
settled() {
    call GET sites/status "" "$token" >/dev/null
    [ "$(jq '[.[] | select(.health == "unknown")] | length' "$work/body")" = 0 ]
}
wait_until 20 settled || fail "not every site was checked: $(cat "$work/body")"
sleep 2 # a second failed check makes each refused site down
call GET sites/status "" "$token" >/dev/null
[ "$(jq -r '.[] | select(.site | endswith("00")) | .health' "$work/body")" = up ] ||
    fail "the allowed network was not checked: $(cat "$work/body")"
refused=$(jq '[.[] | select(.health == "down" and .last_problem_kind == "connection_failed"
    and .last_problem_detail == "The address is private to the server'"'"'s network.")] | length' "$work/body")
[ "$refused" = "${#inward[@]}" ] || fail "$refused of ${#inward[@]} inward sites refused: $(cat "$work/body")"
[ ! -e "$work/targets/requests-127.0.0.1" ] ||
    fail "a check reached 127.0.0.1: $(cat "$work/targets/requests-127.0.0.1")"
grep -q /redirect "$work/targets/requests-127.0.0.2" || fail "the redirect was never asked"

# --- One address, one account, whatever its case.
printf 'correct horse battery\n' | "$bin/ravo-server" user add Mixed@Example.ORG --password-stdin \
    --database "$database" >/dev/null || fail "user add"
for spelling in mixed@example.org MIXED@EXAMPLE.ORG; do
    expect "$(call POST auth/token "{\"email\":\"$spelling\",\"password\":\"correct horse battery\",\"platform\":\"mac\",\"device_name\":\"CI\"}")" 200
done

# --- Password guesses: ten per account, however many clients, and none in parallel past it.
login() { # email password source
    printf '%s\tPOST\t{"email":"%s","password":"%s","platform":"mac","device_name":"x"}\t%s\n' \
        "$api/auth/token" "$1" "$2" "$3"
}
printf 'a good long password\n' | "$bin/ravo-server" user add victim@example.org --password-stdin \
    --database "$database" >/dev/null
for n in $(seq 1 50); do login victim@example.org "guess $n" "127.0.1.$n"; done | crowd >"$work/crowd"
[ "$(count_of '.status == 401')" = 10 ] || fail "50 parallel guesses: $(count_of '.status == 401') tried, not 10"
[ "$(count_of '.status == 429 and (.retry_after | tonumber) > 0')" = 40 ] ||
    fail "the other guesses were not refused with Retry-After: $(cat "$work/crowd")"
login victim@example.org 'a good long password' 127.0.2.1 | crowd >"$work/crowd"
[ "$(count_of '.status == 429')" = 1 ] || fail "the right password got past a locked account"

# An unknown address answers as late as a wrong password: nobody learns who has an account.
printf 'another good password\n' | "$bin/ravo-server" user add known@example.org --password-stdin \
    --database "$database" >/dev/null
# (Within 10 % on a quiet machine, bench/measure_server_sign_in.sh; here other tests may
# share the cores, so only a difference of several times fails.)
for n in 1 2 3 4 5 6 7; do
    login known@example.org "wrong $n" "127.0.3.$n" | crowd
    login "nobody$n@example.org" "wrong $n" "127.0.4.$n" | crowd
done >"$work/crowd"
jq -s -e 'def median: sort | .[length / 2 | floor];
    ([.[range(0; length; 2)].seconds] | median) as $known |
    ([.[range(1; length; 2)].seconds] | median) as $unknown |
    all(.[]; .status == 401) and $unknown > $known * 0.25 and $unknown < $known * 4' \
    "$work/crowd" >/dev/null || fail "timing tells unknown addresses apart: $(jq -c -s 'map(.seconds)' "$work/crowd")"

# --- Mailed codes: five tries each, however many arrive at once; redeemed once.
pkce() { python3 -c 'import base64,hashlib,secrets
v=secrets.token_urlsafe(48)
print(v, base64.urlsafe_b64encode(hashlib.sha256(v.encode()).digest()).rstrip(b"=").decode())'; }
mailed_code() { grep -rh -A3 "To: $1" "$work/mail" 2>/dev/null | grep -o 'sign-in code: [0-9]\{6\}' |
    tail -n 1 | grep -o '[0-9]\{6\}'; }
start_code() { # email -> "attempt verifier code"
    local verifier challenge started
    read -r verifier challenge < <(pkce)
    started=$(from=127.0.5.1 call POST auth/email/start "{\"email\":\"$1\",\"platform\":\"mac\",\"device_name\":\"T\",\"lang\":\"en\",\"code_challenge\":\"$challenge\",\"code_challenge_method\":\"S256\"}")
    expect "$started" 200
    wait_until 10 mailed_code "$1" >/dev/null || fail "no code mailed to $1"
    echo "$(jq -r .attempt_id <<<"$(body_of "$started")") $verifier $(mailed_code "$1")"
}
verify() { # attempt code verifier source
    printf '%s\tPOST\t{"id":"%s","code":"%s","code_verifier":"%s"}\t%s\n' "$api/auth/email/verify" "$1" "$2" "$3" "$4"
}
read -r attempt verifier code < <(start_code guessed@example.org)
for n in $(seq 1 50); do
    verify "$attempt" "$(printf '%06d' $(((10#$code + n) % 1000000)))" "$verifier" "127.0.6.$n"
done | crowd >"$work/crowd"
tried=$(count_of '.detail == "invalid_code"')
[ "$tried" -le 5 ] && [ "$tried" -ge 1 ] || fail "50 parallel guesses at a code got $tried tries"
verify "$attempt" "$code" "$verifier" 127.0.7.1 | crowd >"$work/crowd"
[ "$(count_of '.detail == "code_expired"')" = 1 ] || fail "the code still works after its tries: $(cat "$work/crowd")"

read -r attempt verifier code < <(start_code twice@example.org)
for n in $(seq 1 50); do verify "$attempt" "$code" "$verifier" "127.0.8.$n"; done | crowd >"$work/crowd"
[ "$(count_of '.status == 200')" = 1 ] || fail "one code signed in $(count_of '.status == 200') times"

# --- The Telegram test: to the saved chat only, a few an hour.
expect "$(call PUT notifications/settings '{"telegram_chat_id":"42","telegram_bot_token":"12345:okokokokokokokokokokokokokokokokokok"}' "$token")" 200
for n in 1 2 3 4 5; do expect "$(call POST notifications/telegram/test "" "$token")" 200; done
expect "$(call POST notifications/telegram/test "" "$token")" 429
grep -qi '^retry-after: [1-9]' "$work/headers" || fail "no Retry-After: $(cat "$work/headers")"
[ "$(grep -c '"chat_id": 42' "$work/telegram.log")" = 5 ] || fail "test messages: $(cat "$work/telegram.log")"
passed=1
echo "$kind: inward checks refused; guesses, codes and tests held to their limits under a crowd"
