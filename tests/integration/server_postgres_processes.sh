#!/usr/bin/env bash
# Several ravo-server processes on one real PostgreSQL: any of them answers the API, each
# slot of a site is checked by exactly one, a process killed mid-work loses nothing beyond
# its current interval, and a database that goes away pauses the checks until it is back.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
a='' b='' c='' targets='' telegram=''
trap 'kill $a $b $c $targets $telegram 2>/dev/null || true; stop_postgres; rm -rf "$work"' EXIT
start_postgres
http_port=$(free_port)
start_targets "$http_port"
telegram_port=$(free_port)
python3 "$here/telegram_stand_in.py" "$telegram_port" "$work/telegram.log" &
telegram=$!

start_server() { # name -> pid; the API on its own port, in $work/<name>.port
    local port
    port=$(free_port)
    echo "$port" >"$work/$1.port"
    "$bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --check-minute 1 \
        --check-allow-networks 127.0.0.1/32 \
        --telegram-api "http://127.0.0.1:$telegram_port" >"$work/$1.log" 2>&1 &
    echo $!
}
use_server() { api=http://127.0.0.1:$(cat "$work/$1.port")/api/v1; }

a=$(start_server a)
b=$(start_server b)
use_server a && wait_for_server "$work/a.log"
use_server b && wait_for_server "$work/b.log"
token=$(password_token "$bin" ops@example.org)

sites=$(python3 -c "import json; print(json.dumps([{'id': '00000000-0000-4000-8000-%012d' % n,
    'url': 'http://127.0.0.1:$http_port/ok?site=%d' % n, 'name': 'Site %d' % n,
    'enabled': True, 'interval_minutes': 2} for n in range(20)] + [{'id': '00000000-0000-4000-8000-000000000099',
    'url': 'http://127.0.0.1:$http_port/flap', 'name': 'Flap', 'enabled': True, 'interval_minutes': 1}]))")
use_server a
expect "$(call PUT sites/sync "$sites" "$token")" 200
use_server b # the other process sees the same list and statuses
all_up() { [ "$(call GET sites/status "" "$token" | cut -d' ' -f2- | jq '[.[] | select(.health == "up")] | length')" = 21 ]; }
wait_until 15 all_up || fail "not every site came up: $(cat "$work/body")"

# An outage seen by whichever process checks the site reaches Telegram once, and its
# history reads the same from either process.
expect "$(call PUT notifications/settings '{"telegram_chat_id":"42","telegram_bot_token":"12345:okokokokokokokokokokokokokokokokokok"}' "$token")" 200
echo 503 >"$work/targets/flap"
outage_sent() { grep -q 'Flap is down' "$work/telegram.log" 2>/dev/null; }
wait_until 20 outage_sent || fail "no Telegram alert from PostgreSQL: $(tail -3 "$work/a.log" "$work/b.log")"
echo 200 >"$work/targets/flap"
recovery_sent() { grep -q 'Flap is back up' "$work/telegram.log"; }
wait_until 20 recovery_sent || fail "no recovery alert"
[ "$(grep -c 'Flap is down' "$work/telegram.log")" = 1 ] || fail "the outage was sent twice"
use_server a
history=$(call GET sites/00000000-0000-4000-8000-000000000099/history "" "$token")
jq -e '(.incidents | length) == 1 and .uptime_24h < 1' <<<"$(body_of "$history")" >/dev/null ||
    fail "history: $history"
use_server b

# Requests per site within [from, to): one per 2 s slot, never twice.
checks_between() { # from to -> "min max" over the sites
    python3 - "$work/targets/requests" "$1" "$2" <<'PY'
import collections, sys
counts = collections.Counter({n: 0 for n in range(20)})
for line in open(sys.argv[1]):
    at, path = line.split()
    if float(sys.argv[2]) <= float(at) < float(sys.argv[3]) and "site=" in path:
        counts[int(path.split("site=")[1])] += 1
print(min(counts.values()), max(counts.values()))
PY
}
largest_gap() { # from -> the longest time between two checks of one site after `from`
    python3 - "$work/targets/requests" "$1" <<'PY'
import collections, sys
times = collections.defaultdict(list)
for line in open(sys.argv[1]):
    at, path = line.split()
    if float(at) >= float(sys.argv[2]) and "site=" in path:
        times[path.split("site=")[1]].append(float(at))
print(max(b - a for t in times.values() for a, b in zip(t, t[1:])))
PY
}
start=$(date +%s.%N)
sleep 10
read -r low high < <(checks_between "$start" "$(date +%s.%N)")
[ "$low" -ge 4 ] && [ "$high" -le 6 ] || fail "10 s of 2 s slots gave from $low to $high checks a site"

# Both processes took a share; then one stops and the other carries on alone.
kill -TERM "$b"
wait_until 10 sh -c "! kill -0 $b 2>/dev/null" || fail "process b did not stop"
b=''
shared=$(grep -o 'stopped after [0-9]* checks' "$work/b.log" | grep -o '[0-9]\+')
[ "$shared" -gt 0 ] || fail "process b checked nothing: $(cat "$work/b.log")"

# A third process is killed outright: its sites are taken over within an interval.
c=$(start_server c)
use_server c && wait_for_server "$work/c.log"
sleep 3
kill -KILL "$c"
killed=$(date +%s.%N)
c=''
sleep 8
read -r low high < <(checks_between "$killed" "$(date +%s.%N)")
[ "$low" -ge 3 ] || fail "after a kill some site was checked only $low times in 8 s"
gap=$(largest_gap "$start")
python3 -c "import sys; sys.exit(0 if $gap < 4.5 else 1)" || fail "a site went $gap s unchecked"

# The database goes away: the API says so, checks pause; back, they resume.
use_server a
postgres_ctl -m fast stop >/dev/null
expect "$(call GET sites/status "" "$token")" 503
sleep 3
postgres_ctl -l "$postgres_dir/log" -o "$postgres_options" -w start >/dev/null
back=$(date +%s.%N)
resumed() { [ "$(checks_between "$back" "$(date +%s.%N)" | cut -d' ' -f1)" -ge 1 ]; }
wait_until 20 resumed || fail "checks did not resume: $(tail -5 "$work/a.log")"
wait_until 10 all_up || fail "statuses did not recover: $(cat "$work/body")"
grep -q 'checks paused' "$work/a.log" || fail "the pause was not logged"
echo "two processes shared one PostgreSQL; a killed one lost nothing; an outage paused checks"
