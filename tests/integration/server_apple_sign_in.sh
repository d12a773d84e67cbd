#!/usr/bin/env bash
# Sign in with Apple through ravo-server, configured by the operator, against a stand-in of
# Apple's servers: the page to open, Apple's form post turned into the ravo:// callback,
# and the finish with the PKCE verifier; a cancel, a replay and a wrong verifier fail.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
server='' apple=''
trap 'kill $server $apple 2>/dev/null || true; rm -rf "$work"' EXIT

openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$work/AuthKey.p8" 2>/dev/null
openssl pkey -in "$work/AuthKey.p8" -pubout -out "$work/client-public.pem"
openssl genrsa -out "$work/apple-rsa.pem" 2048 2>/dev/null
apple_port=$(free_port)
python3 "$here/apple_stand_in.py" "$apple_port" "$work/apple-rsa.pem" "$work/client-public.pem" \
    io.example.ravo.web TEAM123456 ada@privaterelay.appleid.com 2>"$work/apple.log" &
apple=$!
wait_until 10 curl -s -o /dev/null "http://127.0.0.1:$apple_port/auth/keys" || fail "no Apple stand-in"

port=$(free_port)
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/ravo.db" --checker off \
    --public-url "http://127.0.0.1:$port" --apple-client-id io.example.ravo.web \
    --apple-team-id TEAM123456 --apple-key-id KEY1234567 --apple-private-key "$work/AuthKey.p8" \
    --apple-url "http://127.0.0.1:$apple_port" >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"

pkce() { python3 -c 'import base64,hashlib,secrets
v=secrets.token_urlsafe(48)
print(v, base64.urlsafe_b64encode(hashlib.sha256(v.encode()).digest()).rstrip(b"=").decode())'; }
location_of() { # form -> the Location the server answers Apple's form post with
    curl -s -o /dev/null -w '%{redirect_url}' -X POST "$api/auth/apple/callback" \
        -H 'Content-Type: application/x-www-form-urlencoded' --data "$1"
}
start_attempt() { # challenge -> "attempt authorize_url"
    local started
    started=$(call POST auth/apple/start "{\"platform\":\"mac\",\"device_name\":\"Mac\",\"code_challenge\":\"$1\",\"code_challenge_method\":\"S256\"}")
    expect "$started" 200
    jq -r '"\(.attempt_id) \(.authorize_url)"' <<<"$(body_of "$started")"
}

read -r verifier challenge < <(pkce)
read -r attempt authorize < <(start_attempt "$challenge")
[[ $authorize == "http://127.0.0.1:$apple_port/auth/authorize?"*"client_id=io.example.ravo.web"* ]] ||
    fail "authorize URL: $authorize"
# The browser: Apple's page, then its form post to the server's callback.
apple_answer=$(curl -s "$authorize")
[ "$(jq -r .redirect_uri <<<"$apple_answer")" = "$api/auth/apple/callback" ] || fail "redirect: $apple_answer"
back=$(location_of "code=$(jq -r .code <<<"$apple_answer")&state=$(jq -r .state <<<"$apple_answer")")
[[ $back == "ravo://auth/callback?attempt=$attempt&code="* ]] || fail "callback: $back $(cat "$work/server.log")"
code=${back##*code=}

expect "$(call POST auth/apple/finish "{\"attempt_id\":\"$attempt\",\"code\":\"$code\",\"code_verifier\":\"$verifier\"}")" 200
token=$(jq -r .token "$work/body")
[ "$(call GET me "" "$token" | cut -d' ' -f2- | jq -r .email)" = ada@privaterelay.appleid.com ] ||
    fail "me: $(cat "$work/body")"
# The code works once.
expect "$(call POST auth/apple/finish "{\"attempt_id\":\"$attempt\",\"code\":\"$code\",\"code_verifier\":\"$verifier\"}")" 401

# A wrong verifier spends the attempt; a cancel comes back as such; a code Apple does not
# know fails without a code for the app.
read -r verifier challenge < <(pkce)
read -r attempt authorize < <(start_attempt "$challenge")
apple_answer=$(curl -s "$authorize")
back=$(location_of "code=$(jq -r .code <<<"$apple_answer")&state=$attempt")
expect "$(call POST auth/apple/finish "{\"attempt_id\":\"$attempt\",\"code\":\"${back##*code=}\",\"code_verifier\":\"not-the-verifier-of-this-attempt-not-at-all\"}")" 401
read -r _ challenge < <(pkce)
read -r attempt _ < <(start_attempt "$challenge")
[ "$(location_of "error=user_cancelled_authorize&state=$attempt")" = "ravo://auth/callback?attempt=$attempt&error=cancelled" ] ||
    fail "cancel"
[ "$(location_of "code=made-up&state=$attempt")" = "ravo://auth/callback?attempt=$attempt&error=failed" ] ||
    fail "a made-up code"
grep -q 'Apple refused the code' "$work/server.log" || fail "the refusal was not logged"
echo "signed in with Apple through the stand-in; cancel, replay and a wrong verifier refused"
