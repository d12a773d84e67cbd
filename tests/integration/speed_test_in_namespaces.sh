#!/usr/bin/env bash
# The speed test as users run it: ravo-netquality and `ravo speedtest` in a "client"
# namespace against ravo-server in a "server" namespace, across a veth pair capped with tbf
# at 40 Mbit/s towards the client and 16 Mbit/s back. The figures must be the link's. Then a
# bloated link: 20 Mbit/s each way through a router holding half a second of queue, where
# what the client's buffers hold must not count as sent and the idle latency must be idle.
# Then servers that fail in every way a user may meet: the test fails cleanly, in time, and
# says why in words of its own.
set -euo pipefail
bin=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
source "$here/netns_lib.sh"
source "$here/server_lib.sh"
require_root
use_temporary_home
client=rsc$$ server=rss$$ broken='' far=rsf$$ router=rsr$$ near=rsn$$
make_hosts "$client" "$server" 78
trap 'kill $broken 2>/dev/null || true; remove_hosts "$client" "$server" "$near" "$router" "$far"; rm -rf "$work"' EXIT

ip netns exec "$server" tc qdisc add dev "v$server" root tbf rate 40mbit burst 64kbit latency 50ms
ip netns exec "$client" tc qdisc add dev "v$client" root tbf rate 16mbit burst 32kbit latency 50ms
ip netns exec "$server" "$bin/ravo-server" --listen 10.78.0.2:8470 \
    --database "sqlite:$work/ravo.db" --public-url http://10.78.0.2:8470 --checker off \
    >"$work/server.log" 2>&1 &
in_client() { ip netns exec "$client" "$@"; }
server_up() { in_client curl -s -o /dev/null http://10.78.0.2:8470/api/v1/speedtest/config; }
wait_until 15 server_up || fail "ravo-server did not start: $(cat "$work/server.log")"

within() { # value expected percent
    awk -v v="$1" -v e="$2" -v p="$3" 'BEGIN { exit !(v >= e * (1 - p / 100) && v <= e * (1 + p / 100)) }'
}
started=$(date +%s)
in_client "$bin/ravo-netquality" -c -M 20 --config http://10.78.0.2:8470/api/v1/speedtest/config \
    >"$work/answer.json" 2>"$work/answer.err" || fail "ravo-netquality: $(cat "$work/answer.err")"
took=$(($(date +%s) - started))
[ "$took" -le 22 ] || fail "a 20 s test took $took s"
read -r down up rtt rpm < <(jq -r '"\(.dl_throughput) \(.ul_throughput) \(.base_rtt) \(.responsiveness)"' "$work/answer.json")
within "$down" 40000000 20 || fail "download $down b/s is not the link's 40 Mbit/s: $(cat "$work/answer.json")"
within "$up" 16000000 20 || fail "upload $up b/s is not the link's 16 Mbit/s: $(cat "$work/answer.json")"
# An idle veth answers in well under a millisecond; loaded, the 50 ms queues show in RPM.
awk -v r="$rtt" 'BEGIN { exit !(r > 0 && r < 5) }' || fail "base RTT $rtt ms on an idle veth"
awk -v r="$rpm" 'BEGIN { exit !(r > 100) }' || fail "responsiveness $rpm RPM"
first_down=$down first_up=$up first_rtt=$rtt

# The app's own path: the setting's server, the child process, the parser and the text.
in_client env HOME="$HOME" "$bin/ravo" speedtest --server http://10.78.0.2:8470 >"$work/text" 2>&1 ||
    fail "ravo speedtest: $(cat "$work/text")"
grep -qE '^Download: +[34][0-9](\.[0-9])? Mb/s$' "$work/text" || fail "text: $(cat "$work/text")"
grep -qE '^Upload: +1[3-9](\.[0-9])? Mb/s$' "$work/text" || fail "text: $(cat "$work/text")"

# The bloated link: client "near" - "router" - server "far". The router's tbf queues hold
# 500 ms each way and a loss-based congestion control keeps them full, as home routers do.
make_hosts "$near" "$router" 79
ip netns add "$far"
ip link add "w$router" netns "$router" type veth peer name "w$far" netns "$far"
ip -n "$router" addr add 10.79.1.1/24 dev "w$router"
ip -n "$far" addr add 10.79.1.2/24 dev "w$far"
ip -n "$router" link set "w$router" up
ip -n "$far" link set lo up
ip -n "$far" link set "w$far" up
ip -n "$far" route add default via 10.79.1.1
ip netns exec "$router" sysctl -qw net.ipv4.ip_forward=1
for host in "$near" "$far"; do
    ip netns exec "$host" sysctl -qw net.ipv4.tcp_congestion_control=cubic 2>/dev/null ||
        ip netns exec "$host" sysctl -qw net.ipv4.tcp_congestion_control=reno
done
ip netns exec "$router" tc qdisc add dev "v$router" root tbf rate 20mbit burst 32kbit latency 500ms
ip netns exec "$router" tc qdisc add dev "w$router" root tbf rate 20mbit burst 32kbit latency 500ms
ip netns exec "$far" "$bin/ravo-server" --listen 10.79.1.2:8470 \
    --database "sqlite:$work/far.db" --public-url http://10.79.1.2:8470 --checker off \
    >"$work/far.log" 2>&1 &
far_up() { ip netns exec "$near" curl -s -o /dev/null http://10.79.1.2:8470/api/v1/speedtest/config; }
wait_until 15 far_up || fail "ravo-server behind the router did not start: $(cat "$work/far.log")"
ip netns exec "$near" "$bin/ravo-netquality" -c -M 15 --config http://10.79.1.2:8470/api/v1/speedtest/config \
    >"$work/bloated.json" 2>"$work/bloated.err" || fail "ravo-netquality: $(cat "$work/bloated.err")"
# Right after that load, while the queues still drain: the app's run, as JSON.
ip netns exec "$near" env HOME="$HOME" "$bin/ravo" speedtest --json --server http://10.79.1.2:8470 \
    >"$work/after.json" 2>"$work/after.err" || fail "ravo speedtest --json: $(cat "$work/after.err")"
for answer in bloated after; do
    read -r down up rtt < <(jq -r '"\(.downloadBitsPerSecond // .dl_throughput) \(.uploadBitsPerSecond // .ul_throughput) \(.baseRTTMilliseconds // .base_rtt)"' "$work/$answer.json")
    within "$down" 20000000 10 || fail "$answer: download $down b/s behind a full queue: $(cat "$work/$answer.json")"
    within "$up" 20000000 10 || fail "$answer: upload $up b/s behind a full queue: $(cat "$work/$answer.json")"
    awk -v r="$rtt" 'BEGIN { exit !(r > 0 && r < 20) }' || fail "$answer: idle latency $rtt ms is the queue's: $(cat "$work/$answer.json")"
done
bloated="download $down b/s, upload $up b/s, idle $rtt ms"

# Servers that go wrong, on loopback: each run fails with the app's text, in time.
port=$(free_port)
(cd "$here" && exec /usr/bin/python3 broken_speed_servers.py "$port") &
broken=$!
broken_up() { curl -s -o /dev/null "http://127.0.0.1:$port/404/config"; }
wait_until 10 broken_up || fail "the broken servers did not start"
closed=$(free_port)
check_fault() { # fault configuration-url expected-reason
    local started took
    started=$(date +%s)
    if "$bin/ravo" speedtest --json --server "$2" >"$work/out" 2>"$work/err"; then
        fail "$1: the test passed: $(cat "$work/out")"
    fi
    took=$(($(date +%s) - started))
    [ "$took" -le 35 ] || fail "$1 took $took s"
    jq -e '.error.message | type == "string"' "$work/out" >/dev/null ||
        fail "$1: --json printed no error document: $(cat "$work/out") $(cat "$work/err")"
    message=$(jq -r .error.message "$work/out")
    case "$message" in "The speed test failed. "*"$3"*) ;; *) fail "$1: $message" ;; esac
    # Every failure says what to do about it.
    grep -qE 'Try again|Check the speed test server' <<<"$message" || fail "$1 gives no advice: $message"
    ! grep -qiE "curl|couldn't|timeout was reached|partial file|failure when|nan|inf\b" <<<"$message" ||
        fail "$1 speaks the library's words: $message"
}
check_fault 404 "http://127.0.0.1:$port/404/config" "answered with error 404"
check_fault 500 "http://127.0.0.1:$port/500/config" "answered with error 500"
check_fault shape "http://127.0.0.1:$port/shape/config" "does not offer a speed test"
check_fault cut "http://127.0.0.1:$port/cut/config" "The download stopped early: the server closed"
check_fault silent "http://127.0.0.1:$port/silent/config" "did not answer in time"
check_fault refused "http://127.0.0.1:$closed/api/v1/speedtest/config" "could not be reached"
# In a terminal the same words go to the error output.
if "$bin/ravo" speedtest --server "http://127.0.0.1:$port/404/config" >"$work/out" 2>"$work/err"; then
    fail "404 passed as text"
fi
[ ! -s "$work/out" ] && grep -q '^The speed test failed. .*error 404' "$work/err" ||
    fail "404 as text: $(cat "$work/out" "$work/err")"
echo "download $first_down b/s, upload $first_up b/s (caps 40 and 16 Mbit/s), base RTT" \
    "$first_rtt ms, $rpm RPM; bloated 20 Mbit/s link: $bloated; 404, 500, a wrong document," \
    "a cut download, silence and a closed port all failed cleanly, with reasons"
