#!/usr/bin/env bash
# ravo-server checking many HTTPS sites on loopback at a one-minute interval: how late
# checks start after their slot, the checker process's CPU and memory, the database's size
# after 24 hours (the run's rows, extended to a day), and GET sites/status under wrk while
# the checker runs. Needs wrk (Debian's package).
#   bench/measure_server_checker.sh [build] [sites] [seconds]
# Capacity: for each thread count, the most sites a minute at which the p99 of checks'
# start after their slot stays under 1 s with no slot skipped, found by doubling and then
# halving the step; with CPU per check and memory per 1,000 sites. An interval's minute
# lasts `minute` seconds (default 10) so that a trial takes seconds, not minutes.
#   bench/measure_server_checker.sh capacity [build] [sqlite|postgresql] [threads...]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
if [ "${1:-}" = capacity ]; then
    shift
    exec "$here/measure_checker_capacity.sh" "$@"
fi
build=${1:-build}
sites=${2:-10000}
seconds=${3:-200}
work=$(mktemp -d)
server='' target=''
trap 'kill $server $target 2>/dev/null || true; rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
source "$here/../tests/integration/test_certificates.sh"
make_test_certificates "$work/certs" || fail "could not make certificates"
free_port() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }

target_port=$(free_port)
"$build/bin/ravo_bench_https_target" "$target_port" "$work/certs/valid.pem" \
    "$work/certs/valid-key.pem" &
target=$!
port=$(free_port)
database="sqlite:$work/ravo.db"
for who in monitor status; do
    printf 'a long enough password\n' | "$build/bin/ravo-server" user add "$who@example.org" \
        --password-stdin --database "$database" >/dev/null
done
"$build/bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --threads 2 \
    --check-allow-networks 127.0.0.1/32 \
    --plan-max-sites "$sites" --max-body 8388608 --check-ca-file "$work/certs/ca.pem" \
    2>"$work/server.log" &
server=$!
api=http://127.0.0.1:$port/api/v1
for _ in $(seq 50); do curl -s -o /dev/null "$api/me" && break; sleep 0.1; done
token_of() {
    curl -s -X POST "$api/auth/token" -H 'Content-Type: application/json' \
        -d "{\"email\":\"$1@example.org\",\"password\":\"a long enough password\",\"device_name\":\"bench\"}" |
        jq -r .token
}
sync_sites() { # token count url-prefix
    python3 -c 'import json, sys, uuid
n, prefix = int(sys.argv[1]), sys.argv[2]
print(json.dumps([{"id": str(uuid.uuid4()), "url": f"{prefix}{i}", "name": f"Site {i}",
                   "enabled": True, "interval_minutes": 1} for i in range(n)]))' "$2" "$3" >"$work/sites.json"
    curl -sf -o /dev/null -X PUT "$api/sites/sync" -H "Authorization: Bearer $1" \
        -H 'Content-Type: application/json' --data-binary "@$work/sites.json" || fail "sync failed"
}
monitor=$(token_of monitor)
status=$(token_of status)
sync_sites "$monitor" "$sites" "https://127.0.0.1:$target_port/ok?site="
sync_sites "$status" 10 "https://127.0.0.1:$target_port/ok?other="
started=$(date +%s)

cpu_ticks() { awk '{print $14 + $15}' "/proc/$server/stat"; }
# Steady state: from the second minute on.
sleep 70
ticks_before=$(cpu_ticks)
measure_start=$(date +%s.%N)
peak_rss=0
while [ $(($(date +%s) - started)) -lt $((seconds - 30)) ]; do
    rss=$(awk '/VmRSS/ {print $2}' "/proc/$server/status")
    [ "$rss" -gt "$peak_rss" ] && peak_rss=$rss
    sleep 2
done
ticks_after=$(cpu_ticks)
measure_end=$(date +%s.%N)
echo "== checker, $sites sites at 1 min (SQLite), $(awk -v a="$measure_start" -v b="$measure_end" 'BEGIN {printf "%.0f", b - a}') s measured =="
grep 'checks saved' "$work/server.log" | sed 's/^.*checker: //'
awk -v t=$((ticks_after - ticks_before)) -v hz="$(getconf CLK_TCK)" -v a="$measure_start" -v b="$measure_end" \
    'BEGIN {printf "ravo-server CPU: %.1f%% of one core (checker, API idle)\n", 100 * t / hz / (b - a)}'
echo "peak resident: $((peak_rss / 1024)) MiB"

echo "== GET sites/status (10 sites) while the checker runs =="
wrk -t 2 -c 32 -d 20s --latency -H "Authorization: Bearer $status" "$api/sites/status" |
    grep -E 'Requests/sec|50%|99%|Non-2xx|Socket errors'
sleep $((seconds - ($(date +%s) - started) > 0 ? seconds - ($(date +%s) - started) : 0))
kill -TERM "$server"
wait "$server" || true
server=''

# A day of history: the rows one day leaves behind, written the way the checker writes
# them, then the file's size.
sqlite3 "$work/ravo.db" <<'SQL'
WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 288)
INSERT OR IGNORE INTO latency_points (site_key, slot, latency_sum, checks)
SELECT s.key, (CAST(strftime('%s','now') AS INTEGER) / 300 - n.i) * 300, 40.0, 5 FROM sites s, n;
WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 24)
INSERT OR IGNORE INTO hourly_stats (site_key, hour, checks, successes, latency_sum, latency_count)
SELECT s.key, (CAST(strftime('%s','now') AS INTEGER) / 3600 - n.i) * 3600, 60, 60, 480.0, 60 FROM sites s, n;
SQL
size=$(sqlite3 "$work/ravo.db" 'PRAGMA page_count' | awk -v p="$(sqlite3 "$work/ravo.db" 'PRAGMA page_size')" '{print $1 * p}')
echo "database after 24 h of $sites sites: $((size / 1024 / 1024)) MiB"
