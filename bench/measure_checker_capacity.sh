#!/usr/bin/env bash
# The checker's capacity (run through measure_server_checker.sh capacity): the most sites a
# minute one ravo-server process checks with the p99 of start after slot under 1 s and no
# slot skipped, for each thread count; CPU per check (the whole process's, the checking
# threads' alone, and the test site's on the same cores), and memory per 1,000 sites from
# the resident memory of the trials that kept up.
#   bench/measure_checker_capacity.sh [build] [sqlite|postgresql] [threads...]
# Environment: minute (seconds an interval's minute lasts, default 10), start (sites a
# minute of the first trial, default 6000), steps (halvings after the first failure, 3).
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
database_kind=${2:-sqlite}
shift $(($# > 2 ? 2 : $#))
thread_counts=("$@")
[ ${#thread_counts[@]} -gt 0 ] || thread_counts=(1 "$(nproc)")
minute=${minute:-10}
start=${start:-6000}
steps=${steps:-3}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
server='' target=''
fail() { echo "FAIL: $*" >&2; exit 1; }
wait_until() { # seconds command...
    local tries=$(($1 * 10))
    shift
    for _ in $(seq "$tries"); do "$@" && return 0; sleep 0.1; done
    return 1
}
source "$here/../tests/integration/server_lib.sh"
trap 'kill $server $target 2>/dev/null || true; stop_postgres; rm -rf "$work"' EXIT
source "$here/../tests/integration/test_certificates.sh"
make_test_certificates "$work/certs" || fail "could not make certificates"

target_port=$(free_port)
"$build/bin/ravo_bench_https_target" "$target_port" "$work/certs/valid.pem" \
    "$work/certs/valid-key.pem" &
target=$!
if [ "$database_kind" = postgresql ]; then
    start_postgres
    postgres_root=$database
fi

trial_number=0
fresh_database() {
    trial_number=$((trial_number + 1))
    if [ "$database_kind" = postgresql ]; then
        psql -q "$postgres_root" -c "CREATE DATABASE trial$trial_number" >/dev/null
        database=${postgres_root%/postgres}/trial$trial_number
    else
        database=sqlite:$work/trial$trial_number.db
    fi
}

# One Prometheus sample's value: metric name with labels as /metrics writes them.
metric() { awk -v name="$1" '$1 == name {print $2; exit}' "$work/${2:-metrics}"; }
scrape() { curl -sf -o "$work/metrics" "http://127.0.0.1:$port/metrics"; }
cpu_ticks() { awk '{print $14 + $15}' "/proc/$server/stat"; }
# The checking threads' CPU alone, and the test site's, which shares the machine's cores.
lane_ticks() { awk '$2 == "(ravo-check)" {t += $14 + $15} END {print t + 0}' /proc/"$server"/task/*/stat; }
site_ticks() { awk '{print $14 + $15}' "/proc/$target/stat"; }
rss_kib() { awk '/VmRSS/ {print $2}' "/proc/$server/status"; }

# trial THREADS PER_MINUTE: prints the figures and returns whether the checker kept up.
trial() {
    local threads=$1 per_minute=$2 sites token
    sites=$((per_minute * minute / 60))
    fresh_database
    printf 'a long enough password\n' | "$build/bin/ravo-server" user add bench@example.org \
        --password-stdin --database "$database" >/dev/null 2>&1
    port=$(free_port)
    "$build/bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --threads 1 \
        --check-threads "$threads" --check-minute "$minute" --check-allow-networks 127.0.0.1/32 \
        --plan-max-sites "$sites" --max-body 67108864 --check-ca-file "$work/certs/ca.pem" \
        2>"$work/server.log" &
    server=$!
    api=http://127.0.0.1:$port/api/v1
    wait_until 15 curl -s -o /dev/null "$api/me" || fail "no server: $(cat "$work/server.log")"
    token=$(curl -s -X POST "$api/auth/token" -H 'Content-Type: application/json' \
        -d '{"email":"bench@example.org","password":"a long enough password","device_name":"bench"}' |
        jq -r .token)
    python3 -c 'import json, sys, uuid
n, prefix = int(sys.argv[1]), sys.argv[2]
print(json.dumps([{"id": str(uuid.uuid4()), "url": f"{prefix}{i}", "name": f"Site {i}",
                   "enabled": True, "interval_minutes": 1} for i in range(n)]))' \
        "$sites" "https://127.0.0.1:$target_port/ok?site=" >"$work/sites.json"
    curl -sf -o /dev/null -X PUT "$api/sites/sync" -H "Authorization: Bearer $token" \
        -H 'Content-Type: application/json' --data-binary "@$work/sites.json" || fail "sync failed"
    # Every site's first slot has passed before measuring; then two whole intervals.
    sleep $((minute + 3))
    scrape
    cp "$work/metrics" "$work/metrics0"
    local count0 late0 skipped0 ticks0 lanes0 site0 t0
    count0=$(metric ravo_server_check_start_lateness_seconds_count)
    late0=$(metric 'ravo_server_check_start_lateness_seconds_bucket{le="1"}')
    skipped0=$(metric ravo_server_checks_skipped_total)
    ticks0=$(cpu_ticks)
    lanes0=$(lane_ticks)
    site0=$(site_ticks)
    t0=$(date +%s.%N)
    sleep $((2 * minute))
    scrape
    local count1 late1 skipped1 ticks1 lanes1 site1 t1 rss load
    count1=$(metric ravo_server_check_start_lateness_seconds_count)
    late1=$(metric 'ravo_server_check_start_lateness_seconds_bucket{le="1"}')
    skipped1=$(metric ravo_server_checks_skipped_total)
    ticks1=$(cpu_ticks)
    lanes1=$(lane_ticks)
    site1=$(site_ticks)
    t1=$(date +%s.%N)
    rss=$(rss_kib)
    load=$(cut -d' ' -f1 /proc/loadavg)
    # The smallest bucket holding 99 % of the interval's starts (its bounds as written).
    local p99
    p99=$(awk -v n=$((count1 - count0)) '
        /^ravo_server_check_start_lateness_seconds_bucket/ {
            split($1, parts, "\""); le = parts[2]
            if (FILENAME ~ /metrics0$/) before[le] = $2
            else if (!found && n > 0 && ($2 - before[le]) * 100 >= n * 99) {
                found = 1; print (le == "+Inf" ? ">60000" : "<=" le * 1000) " ms"
            }
        }' "$work/metrics0" "$work/metrics")
    kill -TERM "$server"
    wait "$server" || true
    server=''
    last_rss=$rss last_sites=$sites
    awk -v threads="$threads" -v rate="$per_minute" -v n=$((count1 - count0)) \
        -v late=$((late1 - late0)) -v skipped=$((skipped1 - skipped0)) \
        -v ticks=$((ticks1 - ticks0)) -v lanes=$((lanes1 - lanes0)) -v site=$((site1 - site0)) \
        -v hz="$(getconf CLK_TCK)" -v a="$t0" -v b="$t1" \
        -v rss="$rss" -v sites="$sites" -v p99="$p99" -v load="$load" '
        BEGIN {
            done = n * 60 / (b - a)
            kept = n > 0 && late >= 0.99 * n && skipped == 0 && done >= 0.97 * rate
            per = n ? 1000 / hz / n : 0
            printf "threads %d, %6d sites/min: %6.0f checks/min, p99 start %s, %d skipped, " \
                   "CPU %.3f ms/check (checking threads %.3f, test site %.3f), " \
                   "resident %.1f MiB with %d sites, load %s: %s\n",
                   threads, rate, done, p99, skipped, ticks * per, lanes * per, site * per,
                   rss / 1024, sites, load, kept ? "keeps up" : "behind"
            exit !kept
        }'
}

for threads in "${thread_counts[@]}"; do
    rate=$start
    best=0
    first_rss='' first_sites=''
    while trial "$threads" "$rate"; do
        best=$rate
        rate=$((rate * 2))
        [ -n "$first_rss" ] || { first_rss=$last_rss first_sites=$last_sites; }
        kept_rss=$last_rss kept_sites=$last_sites
    done
    step=$(((rate - best) / 2))
    for _ in $(seq "$steps"); do
        [ "$step" -ge 500 ] || break
        if trial "$threads" $((best + step)); then
            best=$((best + step)) kept_rss=$last_rss kept_sites=$last_sites
        fi
        step=$((step / 2))
    done
    echo "== capacity with $threads thread(s) on $database_kind: $best sites a minute =="
    # Memory per site: the growth of resident memory between the smallest and the largest
    # trial that kept up, so the process's fixed part does not count.
    if [ -n "$first_rss" ] && [ "$kept_sites" -gt "$first_sites" ]; then
        awk -v a="$first_rss" -v b="$kept_rss" -v m="$first_sites" -v n="$kept_sites" \
            'BEGIN {printf "== memory: %.0f KiB per 1000 sites ==\n", (b - a) * 1000 / (n - m)}'
    fi
done
