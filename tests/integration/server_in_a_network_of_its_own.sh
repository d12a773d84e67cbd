#!/usr/bin/env bash
# ravo-server in a network namespace of its own, with addresses that are not loopback:
# sign-in mail leaves only encrypted (a mail server without STARTTLS gets nothing unless
# smtp-tls = off says so on purpose; one with STARTTLS gets the code), and a check never
# reaches the machine's own interfaces, global addresses included. Needs root for the
# namespace; skipped (77) otherwise.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
[ "$(id -u)" = 0 ] || { echo "needs root for a network namespace; skipped"; exit 77; }
if [ -z "${RAVO_IN_NAMESPACE:-}" ]; then
    exec unshare --net env RAVO_IN_NAMESPACE=1 "$0" "$@"
fi
use_temporary_home
smtp='' server='' targets=''
trap 'kill $smtp $server $targets 2>/dev/null || true; [ -n "${passed:-}" ] || tail -n 5 "$work"/*.log >&2; rm -rf "$work"' EXIT
ip link set lo up
ip addr add 10.9.9.9/32 dev lo
ip addr add 8.8.4.4/32 dev lo # global, and this machine's own here
mail_host=10.9.9.9

openssl req -x509 -nodes -newkey ec -pkeyopt ec_paramgen_curve:P-256 -keyout "$work/key.pem" \
    -out "$work/cert.pem" -subj /CN=$mail_host -addext "subjectAltName=IP:$mail_host" \
    -days 2 2>/dev/null

start_mail() { # [aiosmtpd options] -> a mail server on 10.9.9.9:2525 writing to $work/mail
    kill $smtp 2>/dev/null || true
    rm -rf "$work/mail"
    /usr/bin/python3 -m aiosmtpd -n -l "$mail_host:2525" -c aiosmtpd.handlers.Mailbox "$work/mail" "$@" \
        >"$work/smtp.log" 2>&1 &
    smtp=$!
    wait_until 10 python3 -c "import socket; socket.create_connection(('$mail_host', 2525))" 2>/dev/null ||
        fail "the mail server did not start: $(cat "$work/smtp.log")"
}
start_server() { # ravo-server options...
    [ -z "$server" ] || { kill "$server"; wait "$server" 2>/dev/null || true; }
    "$bin/ravo-server" --listen 127.0.0.1:8470 --database "sqlite:$work/ravo.db" --checker off \
        --smtp "smtp://$mail_host:2525" --mail-from ravo@example.org "$@" >"$work/server.log" 2>&1 &
    server=$!
    api=http://127.0.0.1:8470/api/v1
    wait_for_server "$work/server.log"
}
ask_for_code() { # -> the status of auth/email/start
    local challenge
    challenge=$(python3 -c 'import secrets; print(secrets.token_urlsafe(40))')
    call POST auth/email/start "{\"email\":\"ada@example.org\",\"platform\":\"mac\",\"device_name\":\"T\",\"lang\":\"en\",\"code_challenge\":\"$challenge\",\"code_challenge_method\":\"S256\"}" |
        cut -d' ' -f1
}
mailed() { grep -rqs 'sign-in code' "$work/mail"; }

start_mail
start_server
ask_for_code >/dev/null # queued: the mail is tried in the background
wait_until 10 grep -q 'does not offer STARTTLS' "$work/server.log" || fail "the log does not say why"
mailed && fail "the code went out in plain text"

start_server --smtp-tls off
[ "$(ask_for_code)" = 200 ] || fail "smtp-tls = off did not send"
wait_until 10 mailed || fail "no mail with smtp-tls = off"

start_mail --tlscert "$work/cert.pem" --tlskey "$work/key.pem"
start_server --smtp-ca-file "$work/cert.pem"
[ "$(ask_for_code)" = 200 ] || fail "STARTTLS did not send: $(cat "$work/server.log")"
wait_until 10 mailed || fail "no mail over STARTTLS"
# A global address that is this machine's own is as private as loopback.
start_targets "8080@8.8.4.4"
database=sqlite:$work/ravo.db
token=$(password_token "$bin" ada@example.org)
start_server --checker on --check-minute 1
expect "$(call PUT sites/sync '[{"id":"00000000-0000-4000-8000-000000000001","url":"http://8.8.4.4:8080/ok","name":"Own","enabled":true,"interval_minutes":1}]' "$token")" 200
down() { [ "$(call GET sites/status "" "$token" | cut -d' ' -f2- | jq -r '.[0].health')" = down ]; }
wait_until 15 down || fail "a check of this machine's own address: $(cat "$work/body")"
[ "$(jq -r '.[0].last_problem_detail' "$work/body")" = "The address is private to the server's network." ] ||
    fail "$(cat "$work/body")"
[ ! -e "$work/targets/requests" ] || fail "a check reached this machine: $(cat "$work/targets/requests")"
passed=1
echo "mail to $mail_host went out only over STARTTLS, or in plain text when told to; own addresses refused"
