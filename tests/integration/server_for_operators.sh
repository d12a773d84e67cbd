#!/usr/bin/env bash
# ravo-server as an operator runs it: Prometheus reads /metrics (checked by Prometheus's own
# promtool) and its figures follow the checks, the requests and the database; /healthz and
# /readyz answer a load balancer; a live SQLite database is backed up while checks write to
# it; a database from a newer release is refused without being touched.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
promtool=${RAVO_TEST_TOOLS:-$HOME/.cache/ravo-test-tools}/promtool
[ -x "$promtool" ] || fail "promtool is missing (scripts/install-promtool.sh)"
use_temporary_home
server='' targets=''
trap 'kill $server $targets 2>/dev/null || true; stop_postgres; [ -n "${ok:-}" ] || cat "$work/server.log" >&2; rm -rf "$work"' EXIT

http_port=$(free_port)
start_targets "$http_port"
closed_port=$(free_port)
port=$(free_port)
database=sqlite:$work/ravo.db
# Loopback is a trusted proxy here, so a forwarded address stands for the client. The check
# threads are set the way a unit file sets them.
RAVO_SERVER_CHECK_THREADS=3 "$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
    --check-allow-networks 127.0.0.1/32 --check-timeout 2 --trusted-proxies 127.0.0.1/32 \
    >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
root=http://127.0.0.1:$port
wait_for_server "$work/server.log"

# Each of the checker's threads is named for what it does, as top -H shows them.
threads=$(ps -L -o comm= -p "$server" | sort | uniq -c | awk '{print $2 "=" $1}' | tr '\n' ' ')
[[ $threads == *"ravo-check=3 "* && $threads == *"ravo-claim=1 "* && $threads == *"ravo-save=1 "* ]] ||
    fail "the checker's threads: $threads"
[ "$(curl -s "$root/healthz")" = ok ] || fail "healthz"
[ "$(curl -s "$root/readyz")" = ready ] || fail "readyz: $(curl -s "$root/readyz")"
status=$(curl -s -o /dev/null -w '%{http_code}' -X POST "$root/healthz")
[ "$status" = 405 ] || fail "POST /healthz answered $status"

token=$(password_token "$bin" ops@example.org)
site() { # n url name
    printf '{"id":"00000000-0000-4000-8000-00000000000%s","url":"%s","name":"%s","enabled":true,"interval_minutes":1}' "$1" "$2" "$3"
}
expect "$(call PUT sites/sync "[$(site 1 "http://127.0.0.1:$http_port/ok" Shop),$(site 2 "http://127.0.0.1:$closed_port/" Gone)]" "$token")" 200
expect "$(call GET sites/nothing/history "" "$token")" 404

scrape() { curl -s -o "$work/metrics" -w '%{http_code}' "$root/metrics"; }
value() { # name{labels} -> its value, or nothing
    awk -v key="$1" '$1 == key { print $2 }' "$work/metrics"
}
checks_ok() { scrape >/dev/null; [ "$(value 'ravo_server_checks_total{result="ok"}')" -ge "$1" ] 2>/dev/null; }
wait_until 15 checks_ok 3 || fail "no passing checks counted: $(grep checks_total "$work/metrics")"
[ "$(scrape)" = 200 ] || fail "metrics from loopback"
"$promtool" check metrics <"$work/metrics" >"$work/promtool" 2>&1 ||
    fail "promtool: $(cat "$work/promtool")"
grep -q 'ravo_server_checks_total{result="connection_refused"}\|ravo_server_checks_total{result="[a-z_]*"}' "$work/metrics" ||
    fail "failed checks by kind: $(grep checks_total "$work/metrics")"
failed=$(grep '^ravo_server_checks_total' "$work/metrics" | grep -v 'result="ok"' | awk '{ s += $2 } END { print s + 0 }')
[ "$failed" -ge 1 ] || fail "the closed port's checks were not counted as failures"
[ "$(value ravo_server_accounts)" = 1 ] || fail "accounts: $(value ravo_server_accounts)"
[ "$(value ravo_server_checker_threads)" = 3 ] || fail "checker threads: $(grep checker_threads "$work/metrics")"
[ "$(value 'ravo_server_sites{enabled="true"}')" = 2 ] || fail "sites: $(grep ^ravo_server_sites "$work/metrics")"
[ "$(value ravo_server_database_up)" = 1 ] || fail "database_up"
[ "$(value 'ravo_server_http_requests_total{method="PUT",route="/api/v1/sites/sync",status="200"}')" = 1 ] ||
    fail "requests: $(grep http_requests "$work/metrics")"
[ "$(value 'ravo_server_http_requests_total{method="GET",route="/api/v1/sites/{id}/history",status="404"}')" = 1 ] ||
    fail "ids must not become labels: $(grep http_requests "$work/metrics")"
count=$(value ravo_server_check_start_lateness_seconds_count)
[ "$count" -ge 3 ] || fail "lateness histogram: $count"
# A check starts within a second of its slot on a machine doing little else.
within=$(value 'ravo_server_check_start_lateness_seconds_bucket{le="1"}')
[ "$within" -ge $((count * 9 / 10)) ] || fail "checks start late: $within of $count within 1 s"
[ "$(value ravo_server_check_duration_seconds_count)" = "$count" ] || fail "duration count"
before=$(value 'ravo_server_checks_total{result="ok"}')
sleep 2.5
scrape >/dev/null
[ "$(value 'ravo_server_checks_total{result="ok"}')" -gt "$before" ] || fail "the ok count did not move"

# Only the allowed networks read /metrics; a client behind the trusted proxy is not loopback.
status=$(curl -s -o /dev/null -w '%{http_code}' -H 'X-Forwarded-For: 203.0.113.9' "$root/metrics")
[ "$status" = 403 ] || fail "/metrics for a forwarded stranger answered $status"
status=$(curl -s -o /dev/null -w '%{http_code}' -H 'X-Forwarded-For: 203.0.113.9' "$root/healthz")
[ "$status" = 200 ] || fail "/healthz for a forwarded client answered $status"

# A backup of the live database while checks keep writing to it: whole, and the server's alone.
"$bin/ravo-server" --database "$database" backup "$work/backup.db" >"$work/backup.out" ||
    fail "backup: $(cat "$work/backup.out")"
[ "$(stat -c %a "$work/backup.db")" = 600 ] || fail "backup mode $(stat -c %a "$work/backup.db")"
[ ! -e "$work/backup.db.partial" ] || fail "a partial backup was left"
[ "$(sqlite3 "$work/backup.db" 'PRAGMA integrity_check')" = ok ] || fail "backup integrity"
[ "$(sqlite3 "$work/backup.db" 'SELECT count(*) FROM sites')" = 2 ] || fail "backup sites"
[ "$(sqlite3 "$work/backup.db" 'SELECT count(*) FROM site_status WHERE last_checked_at IS NOT NULL')" = 2 ] ||
    fail "backup statuses"
[ ! -e "$work/backup.db-wal" ] || fail "the backup needs a journal beside it"
# The copy is a working database: a server starts on it and signs the operator in.
printf 'another password\n' | "$bin/ravo-server" user add second@example.org --password-stdin \
    --database "sqlite:$work/backup.db" >/dev/null || fail "the backup does not open"
[ "$(sqlite3 "$work/backup.db" 'SELECT count(*) FROM accounts')" = 2 ] || fail "backup accounts"
if "$bin/ravo-server" --database "$database" backup "$work/no/such/folder/x.db" 2>"$work/err"; then
    fail "a backup into a missing folder succeeded"
fi
grep -q "^ravo-server: backup: cannot write" "$work/err" || fail "backup error: $(cat "$work/err")"

# A database a newer release left: one clear line, and the file as it was.
cp "$work/backup.db" "$work/newer.db"
sqlite3 "$work/newer.db" 'UPDATE schema_version SET version = version + 1'
sum=$(sha256sum <"$work/newer.db")
if "$bin/ravo-server" --database "sqlite:$work/newer.db" --listen 127.0.0.1:$(free_port) 2>"$work/err"; then
    fail "a newer database was opened"
fi
[ "$(wc -l <"$work/err")" = 1 ] && grep -q "made by a newer ravo-server" "$work/err" ||
    fail "refusal: $(cat "$work/err")"
[ "$(sha256sum <"$work/newer.db")" = "$sum" ] || fail "the newer database was changed"
"$bin/ravo-server" --version | grep -q "database layout" || fail "--version says no layout"

# /readyz says when the database is away (PostgreSQL stopped under a running server), and
# PostgreSQL is backed up with pg_dump, not with this command.
kill $server
wait $server 2>/dev/null || true
start_postgres
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --checker off \
    >"$work/server.log" 2>&1 &
server=$!
wait_for_server "$work/server.log"
[ "$(curl -s "$root/readyz")" = ready ] || fail "readyz on PostgreSQL"
if "$bin/ravo-server" --database "$database" backup "$work/pg.db" 2>"$work/err"; then
    fail "backup of PostgreSQL"
fi
grep -q "pg_dump" "$work/err" || fail "no word of pg_dump: $(cat "$work/err")"
postgres_ctl -m immediate stop >/dev/null
status=$(curl -s -o "$work/ready" -w '%{http_code}' "$root/readyz")
[ "$status" = 503 ] && grep -q "database" "$work/ready" || fail "readyz with the database away: $status $(cat "$work/ready")"
[ "$(curl -s "$root/healthz")" = ok ] || fail "healthz with the database away"
scrape >/dev/null
[ "$(value ravo_server_database_up)" = 0 ] || fail "database_up with the database away"
[ "$(value ravo_server_database_errors_total)" -ge 1 ] || fail "database errors not counted"
"$promtool" check metrics <"$work/metrics" >"$work/promtool" 2>&1 ||
    fail "promtool with the database away: $(cat "$work/promtool")"
ok=1
echo "PASS"
