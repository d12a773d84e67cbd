#!/usr/bin/env bash
# ravo-server as an operator starts it and a user meets it with curl: an e-mail code through
# a real SMTP server on loopback (Debian's python3-aiosmtpd, so Debian's own Python), PKCE,
# the site list, statuses, and the refusals.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/server_lib.sh"
use_temporary_home
trap 'kill $smtp $server 2>/dev/null || true; cat "$work/server.log" >&2; rm -rf "$work"' EXIT

smtp_port=$(free_port)
/usr/bin/python3 -m aiosmtpd -n -l "127.0.0.1:$smtp_port" -c aiosmtpd.handlers.Mailbox "$work/mail" \
    >"$work/smtp.log" 2>&1 &
smtp=$!
port=$(free_port)
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/ravo.db" \
    --smtp "smtp://127.0.0.1:$smtp_port" --mail-from ravo@example.org --plan-max-sites 3 \
    --plan-min-interval 2 >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
wait_until 10 python3 -c "import socket; socket.create_connection(('127.0.0.1', $smtp_port))" 2>/dev/null ||
    fail "the SMTP server did not start: $(cat "$work/smtp.log")"

pkce() { # -> "verifier challenge"
    python3 -c 'import base64,hashlib,secrets
v=secrets.token_urlsafe(48)
c=base64.urlsafe_b64encode(hashlib.sha256(v.encode()).digest()).rstrip(b"=").decode()
print(v, c)'
}
mailed_code() { # address
    grep -rh -A3 "To: $1" "$work/mail" 2>/dev/null | grep -o 'sign-in code: [0-9]\{6\}' | tail -n 1 | grep -o '[0-9]\{6\}'
}
sign_in() { # email -> token
    local verifier challenge start attempt code answer
    read -r verifier challenge < <(pkce)
    start=$(call POST auth/email/start "{\"email\":\"$1\",\"platform\":\"mac\",\"device_name\":\"Test\",\"lang\":\"en\",\"code_challenge\":\"$challenge\",\"code_challenge_method\":\"S256\"}")
    expect "$start" 200
    attempt=$(jq -r .attempt_id <<<"${start#* }")
    wait_until 10 mailed_code "$1" >/dev/null || fail "no code mailed to $1"
    code=$(mailed_code "$1")
    answer=$(call POST auth/email/verify "{\"id\":\"$attempt\",\"code\":\"$code\",\"code_verifier\":\"$verifier\"}")
    expect "$answer" 200
    # The same code twice is refused: it works once.
    expect "$(call POST auth/email/verify "{\"id\":\"$attempt\",\"code\":\"$code\",\"code_verifier\":\"$verifier\"}")" 401
    jq -r .token <<<"${answer#* }"
}

token=$(sign_in ada@example.org)
me=$(call GET me "" "$token")
expect "$me" 200
summary=$(jq -r '"\(.email) \(.max_sites) \(.min_interval_minutes)"' <<<"${me#* }")
[ "$summary" = "ada@example.org 3 2" ] || fail "me: $me"

sites='[{"id":"5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e","url":"https://example.org/","name":"Shop","keyword":"Welcome","enabled":true,"interval_minutes":5},
        {"id":"0f9e8d7c-6b5a-4c3d-8e2f-1a0b9c8d7e6f","url":"http://127.0.0.1:9/health","name":"Local","enabled":false,"interval_minutes":2}]'
synced=$(call PUT sites/sync "$sites" "$token")
expect "$synced" 200
[ "$(jq length <<<"${synced#* }")" = 2 ] || fail "sync answered: $synced"
status=$(call GET sites/status "" "$token")
expect "$status" 200
[ "$(jq -r '[.[].health] | join(",")' <<<"${status#* }")" = "unknown,unknown" ] || fail "status: $status"

# Refusals: each a clear 4xx with a detail, nothing stored.
expect "$(call GET me)" 401
expect "$(call GET me "" not-a-token)" 401
expect "$(call PUT sites/sync '[{"id":"x"' "$token")" 400
expect "$(call PUT sites/sync '[{"id":"5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e","url":"ftp://example.org","name":"F","enabled":true,"interval_minutes":5}]' "$token")" 400
expect "$(call PUT sites/sync '[{"id":"5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e","url":"https://example.org","name":"F","enabled":true,"interval_minutes":1}]' "$token")" 400
python3 -c 'print("[" + ",".join(["{\"id\":\"x\"}"] * 40000) + "]")' >"$work/big.json"
expect "$(curl -s -o /dev/null -w '%{http_code} -' -X PUT -H "Authorization: Bearer $token" \
    -H 'Content-Type: application/json' --data-binary "@$work/big.json" "$api/sites/sync")" 413
[ "$(jq length <<<"$(call GET sites/status "" "$token" | cut -d' ' -f2-)")" = 2 ] ||
    fail "a refused sync changed the list"

# Another account cannot see or touch Ada's; a revoked device is signed out.
other=$(sign_in grace@example.org)
[ "$(call GET sites/status "" "$other")" = "200 []" ] || fail "Grace sees sites"
expect "$(call DELETE devices/00000000-0000-4000-8000-000000000000 "" "$other")" 404
expect "$(call DELETE me "" "$other")" 200
expect "$(call GET me "" "$other")" 401

# An operator's password account.
database=sqlite:$work/ravo.db
password_token "$bin" ops@example.org >/dev/null
expect "$(call POST auth/token '{"email":"ops@example.org","password":"wrong","platform":"mac","device_name":"CI"}')" 401
expect "$(call POST auth/apple/start '{"platform":"mac","device_name":"CI","code_challenge":"x","code_challenge_method":"S256"}')" 400
[ "$(jq -r .detail "$work/body")" = apple_not_configured ] || fail "apple: $(cat "$work/body")"
echo "signed in by mailed code and by password; sites synced and listed; refusals clear"
