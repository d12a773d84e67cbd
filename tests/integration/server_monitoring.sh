#!/usr/bin/env bash
# ravo-server checking real loopback websites, HTTP and HTTPS (a test authority's valid
# certificate that expires soon, an expired one, a self-signed one), with an interval
# minute of one second: statuses and history follow a flapping site down and up, and the
# alerts reach a stand-in of the Telegram Bot API, which is out of reach here.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
source "$here/test_certificates.sh"
use_temporary_home
server='' telegram='' targets=''
trap 'kill $server $telegram $targets 2>/dev/null || true; [ -n "${keep_log:-}" ] || cat "$work/server.log" >&2; rm -rf "$work"' EXIT

make_test_certificates "$work/certs" || fail "could not make certificates"
http_port=$(free_port) valid_port=$(free_port) expired_port=$(free_port) self_port=$(free_port)
certs=$work/certs
start_targets "$http_port" "$valid_port:$certs/valid.pem:$certs/valid-key.pem" \
    "$expired_port:$certs/expired.pem:$certs/expired-key.pem" \
    "$self_port:$certs/self.pem:$certs/self-key.pem"
telegram_port=$(free_port)
python3 "$here/telegram_stand_in.py" "$telegram_port" "$work/telegram.log" &
telegram=$!

port=$(free_port)
database=sqlite:$work/ravo.db
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
    --check-allow-networks 127.0.0.1/32 \
    --check-timeout 2 --check-ca-file "$certs/ca.pem" --slow-threshold-ms 1500 \
    --telegram-api "http://127.0.0.1:$telegram_port" >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
token=$(password_token "$bin" ops@example.org)

bot=12345:okokokokokokokokokokokokokokokokokok
expect "$(call PUT notifications/settings "{\"telegram_chat_id\":\"-1001234567890\",\"telegram_bot_token\":\"$bot\"}" "$token")" 200
[ "$(jq -c . "$work/body")" = '{"has_custom_bot_token":true,"telegram_chat_id":"-1001234567890"}' ] ||
    fail "settings: $(cat "$work/body")"
expect "$(call PUT notifications/settings '{"telegram_bot_token":"1234:short"}' "$token")" 400
[ "$(jq -r .detail "$work/body")" = "The bot token isn't valid." ] || fail "$(cat "$work/body")"
expect "$(call PUT notifications/settings '{"telegram_chat_id":"@abcd"}' "$token")" 400
expect "$(call POST notifications/telegram/test "" "$token")" 200
grep -q '"chat_id": -1001234567890' "$work/telegram.log" || fail "the test message did not reach Telegram"

site() { # n url name [keyword]
    local keyword=''
    [ -n "${4:-}" ] && keyword=",\"keyword\":\"$4\""
    printf '{"id":"00000000-0000-4000-8000-00000000000%s","url":"%s","name":"%s","enabled":true,"interval_minutes":1%s}' \
        "$1" "$2" "$3" "$keyword"
}
local_url=http://127.0.0.1:$http_port
sites="[$(site 1 "$local_url/ok" Shop Welcome),$(site 2 "$local_url/flap" Flap),
$(site 3 "$local_url/slow" Slow),$(site 4 "$local_url/protected" Members),
$(site 5 "$local_url/plain" Plain Welcome),$(site 6 "https://127.0.0.1:$valid_port/ok" 'Valid TLS'),
$(site 7 "https://127.0.0.1:$expired_port/ok" 'Expired TLS'),$(site 8 "https://127.0.0.1:$self_port/ok" 'Self TLS'),
$(site 0 "http://127.0.0.1:$(free_port)/" Closed)]"
expect "$(call PUT sites/sync "$sites" "$token")" 200

health_of() { # n -> the site's health
    call GET sites/status "" "$token" >/dev/null
    jq -r ".[] | select(.site | endswith(\"0$1\")) | .health" "$work/body"
}
field_of() { # n key
    jq -r ".[] | select(.site | endswith(\"0$1\")) | .$2 // empty" "$work/body"
}
is_health() { [ "$(health_of "$1")" = "$2" ]; }

for n in 1 4 6; do wait_until 15 is_health $n up || fail "site $n is not up: $(cat "$work/body")"; done
for n in 3 5 7 8 0; do wait_until 15 is_health $n down || fail "site $n is not down: $(cat "$work/body")"; done
call GET sites/status "" "$token" >/dev/null
[ "$(field_of 3 last_problem_kind)" = timeout ] || fail "slow: $(cat "$work/body")"
[ "$(field_of 5 last_problem_kind)" = keyword_missing ] || fail "keyword: $(cat "$work/body")"
[ "$(field_of 7 last_problem_kind)" = certificate_invalid ] || fail "expired: $(cat "$work/body")"
[ "$(field_of 8 last_problem_kind)" = certificate_invalid ] || fail "self-signed: $(cat "$work/body")"
[ "$(field_of 4 last_status_code)" = 401 ] || fail "protected: $(cat "$work/body")"
# Said in Ravo's words, with what to look at, not in the HTTP library's.
[ "$(field_of 0 last_problem_kind)" = connection_failed ] &&
    [ "$(field_of 0 last_problem_detail)" = "Nothing accepted the connection. Check that the site runs and is reachable from the internet." ] ||
    fail "closed port: $(cat "$work/body")"
expiry=$(field_of 6 last_certificate_expiry)
[ "$expiry" = "$(date -u -d "$(openssl x509 -in "$certs/valid.pem" -noout -enddate | cut -d= -f2)" +%Y-%m-%dT%H:%M:%SZ)" ] ||
    fail "certificate expiry: $expiry"
sent() { grep -c "$1" "$work/telegram.log" || true; }
has_sent() { [ "$(sent "$1")" -ge "${2:-1}" ]; } # pattern [times]
wait_until 10 has_sent 'The certificate for Valid TLS is expiring' || fail "no certificate alert"

# The flapping site: one failure is not an outage, two are; then it comes back.
wait_until 10 is_health 2 up || fail "flap did not start up"
echo 503 >"$work/targets/flap"
wait_until 10 is_health 2 down || fail "flap did not go down"
[ "$(field_of 2 last_problem_kind) $(field_of 2 last_status_code)" = "http_status 503" ] ||
    fail "flap: $(cat "$work/body")"
wait_until 10 has_sent 'Flap is down' || fail "no down alert: $(cat "$work/telegram.log")"
grep 'Flap is down' "$work/telegram.log" | grep -q 'The server answered HTTP 503' || fail "down alert text"
grep 'Flap is down' "$work/telegram.log" | grep -q '"parse_mode": "HTML"' || fail "not HTML"
echo 200 >"$work/targets/flap"
wait_until 10 is_health 2 up || fail "flap did not come back"
wait_until 10 has_sent 'Flap is back up' || fail "no recovery alert"
[ "$(sent 'Flap is down')" = 1 ] || fail "the outage was alerted more than once"

history=$(call GET sites/00000000-0000-4000-8000-000000000002/history "" "$token")
expect "$history" 200
jq -e '.uptime_24h > 0 and .uptime_24h < 1 and (.latency_24h | length) >= 1
       and (.latency_7d_hourly | length) >= 1 and (.incidents | length) == 1
       and .incidents[0].reason == "The server answered HTTP 503"
       and (.incidents[0].ended_at | type) == "string"' <<<"$(body_of "$history")" >/dev/null ||
    fail "history: $history"
expect "$(call GET sites/00000000-0000-4000-8000-000000000009/history "" "$token")" 404

# Telegram says 429: the alert waits retry_after and goes out again.
slow_bot=12345:slow429slow429slow429slow429slow429
expect "$(call PUT notifications/settings "{\"telegram_bot_token\":\"$slow_bot\"}" "$token")" 200
echo 500 >"$work/targets/flap"
wait_until 15 has_sent "$slow_bot.*Flap is down" 2 ||
    fail "a 429 was not retried: $(cat "$work/telegram.log")"
# A blocked bot is permanent: no retries, and the settings say why.
expect "$(call PUT notifications/settings '{"telegram_bot_token":"12345:blockedblockedblockedblockedblocked"}' "$token")" 200
echo 200 >"$work/targets/flap"
wait_until 15 sh -c "curl -s -H 'Authorization: Bearer $token' $api/notifications/settings | grep -q 'bot was blocked'" ||
    fail "the permanent error is not shown: $(cat "$work/telegram.log")"
[ "$(grep -c blocked "$work/telegram.log")" = 1 ] || fail "a permanent error was retried"

# Removing a site removes its history; another account cannot read it.
other=$(password_token "$bin" other@example.org)
expect "$(call GET sites/00000000-0000-4000-8000-000000000001/history "" "$other")" 404
expect "$(call PUT sites/sync "[$(site 1 "$local_url/ok" Shop Welcome)]" "$token")" 200
expect "$(call GET sites/00000000-0000-4000-8000-000000000002/history "" "$token")" 404
keep_log=1
echo "statuses, history and Telegram alerts followed real sites down and up"
