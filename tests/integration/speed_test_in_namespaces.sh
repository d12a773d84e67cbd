#!/usr/bin/env bash
# The speed test as users run it: ravo-netquality and `ravo speedtest` in a "client"
# namespace against ravo-server in a "server" namespace, across a veth pair capped with tbf
# at 40 Mbit/s towards the client and 16 Mbit/s back. The figures must be the link's. Then
# servers that fail in every way a user may meet: the test fails cleanly, in time.
set -euo pipefail
bin=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
source "$here/netns_lib.sh"
source "$here/server_lib.sh"
require_root
use_temporary_home
client=rsc$$ server=rss$$ broken=''
make_hosts "$client" "$server" 78
trap 'kill $broken 2>/dev/null || true; remove_hosts "$client" "$server"; rm -rf "$work"' EXIT

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

# The app's own path: the setting's server, the child process, the parser and the text.
in_client env HOME="$HOME" "$bin/ravo" speedtest --server http://10.78.0.2:8470 >"$work/text" 2>&1 ||
    fail "ravo speedtest: $(cat "$work/text")"
grep -qE '^Download: +[34][0-9](\.[0-9])? Mb/s$' "$work/text" || fail "text: $(cat "$work/text")"
grep -qE '^Upload: +1[3-9](\.[0-9])? Mb/s$' "$work/text" || fail "text: $(cat "$work/text")"

# Servers that go wrong, on loopback: each run fails with the app's text, in time.
port=$(free_port)
(cd "$here" && exec /usr/bin/python3 broken_speed_servers.py "$port") &
broken=$!
broken_up() { curl -s -o /dev/null "http://127.0.0.1:$port/404/config"; }
wait_until 10 broken_up || fail "the broken servers did not start"
for fault in 404 500 shape cut silent; do
    started=$(date +%s)
    if "$bin/ravo" speedtest --server "http://127.0.0.1:$port/$fault/config" >"$work/out" 2>&1; then
        fail "$fault: the test passed: $(cat "$work/out")"
    fi
    took=$(($(date +%s) - started))
    grep -qx 'The speed test failed.' "$work/out" || fail "$fault: $(cat "$work/out")"
    ! grep -qiE 'nan|inf' "$work/out" || fail "$fault printed a non-finite figure"
    [ "$took" -le 35 ] || fail "$fault took $took s"
done
echo "download $down b/s, upload $up b/s (caps 40 and 16 Mbit/s), base RTT $rtt ms," \
    "$rpm RPM; 404, 500, a wrong document, a cut download and silence all failed cleanly"
