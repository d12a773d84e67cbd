#!/usr/bin/env bash
# The connection watchdog in the running app, on a host of its own: a "client" namespace
# whose default route leads over a veth pair to a "resolver" namespace listening on 443.
# The link goes down (offline), the resolver's port is dropped (no internet), and the link
# is made slow with real queueing delay (a tbf rate limit kept full by a UDP stream), each
# followed by the recovery. dunst on the app's session bus shows what the user would see.
# Then the link flaps: one notice that it is unstable, and one when it settles.
# The app's intervals are shortened to 3 s and 2 s and its settling to a hold of 1 s; the
# streaks are the real ones. First, `ravo status` on a network with IPv6 only.
set -euo pipefail
bin=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
source "$here/lib.sh"
source "$here/netns_lib.sh"

if [ "${2:-}" != --inside ]; then
    require_root
    client=rvc$$ resolver=rvr$$ client6=rv6c$$ resolver6=rv6r$$
    make_hosts "$client" "$resolver" 77
    trap 'remove_hosts "$client" "$resolver" "$client6" "$resolver6"; rm -rf "$work"' EXIT

    # IPv6 only: no IPv4 route at all, and the public resolver's IPv6 address answering on
    # 443 one hop away. Settings as shipped: the probe's default is the IPv4 resolver.
    ip netns add "$client6"
    ip netns add "$resolver6"
    ip link add "v$client6" netns "$client6" type veth peer name "v$resolver6" netns "$resolver6"
    ip -n "$client6" addr add fd77::1/64 dev "v$client6" nodad
    ip -n "$resolver6" addr add fd77::2/64 dev "v$resolver6" nodad
    ip -n "$resolver6" addr add 2606:4700:4700::1111/128 dev lo
    for host in "$client6" "$resolver6"; do
        ip -n "$host" link set lo up
        ip -n "$host" link set "v$host" up
    done
    ip -n "$client6" -6 route add default via fd77::2
    ip netns exec "$resolver6" /usr/bin/python3 -c '
import socket
s = socket.socket(socket.AF_INET6); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("::", 443)); s.listen(64)
while True: s.accept()[0].close()' &
    work=$(mktemp -d)
    reachable6() { ip netns exec "$client6" /usr/bin/python3 -c 'import socket; socket.create_connection(("2606:4700:4700::1111", 443), 1)'; }
    wait_until 10 reachable6 || fail "the IPv6 resolver did not start"
    ip netns exec "$client6" env -u XDG_CONFIG_HOME -u XDG_DATA_HOME HOME="$work" "$bin/ravo" status --json >"$work/status6.json" 2>"$work/status6.err" ||
        fail "ravo status: $(cat "$work/status6.err")"
    [ "$(jq -r .connection.state "$work/status6.json")" = online ] ||
        fail "IPv6 only is not online: $(jq -c '{connection, network}' "$work/status6.json")"
    [ "$(jq -r .network.interface "$work/status6.json")" = "v$client6" ] ||
        fail "IPv6 only has no interface: $(jq -c .network "$work/status6.json")"
    ip netns exec "$resolver" /usr/bin/python3 -c '
import socket
s = socket.socket(); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("10.77.0.2", 443)); s.listen(64)
while True: s.accept()[0].close()' &
    # dbus-run-session inside the namespace: the bus and the X server are the client's own.
    ip netns exec "$client" dbus-run-session -- "$0" "$bin" --inside "$client" "$resolver"
    exit $?
fi

client=$3 resolver=$4
session_bus=$DBUS_SESSION_BUS_ADDRESS
use_temporary_home
export DBUS_SESSION_BUS_ADDRESS=$session_bus
use_desktop_session
notifier='' ravo='' tray='' flood='' keyring=''
trap 'kill $ravo $tray $notifier $flood $keyring $x_server 2>/dev/null || true; rm -rf "$work"' EXIT

# The secret store unlocked, so the app does not start one on demand with the wrong home.
start_keyring_and_notifications
start_tray

mkdir -p "$HOME/.config/ravo"
printf '[General]\nlatencyProbeAddress=10.77.0.2:443\n' >"$HOME/.config/ravo/ravo.conf"
RAVO_CONNECTION_INTERVALS=3,2 RAVO_CONNECTION_SETTLE=1,8,4,4 QT_LOGGING_RULES='io.halvorsund.Ravo.connection.debug=true' \
    "$bin/ravo" >"$work/log" 2>&1 &
ravo=$!

# What dunst was asked to show, oldest first; a replaced notification counts once.
shown() { dunstctl history | jq -r '.data[0] | reverse | .[] | .summary.data + " | " + .body.data'; }
last_shown() { dunstctl close-all; shown | tail -n 1; }
says() { [ "$(last_shown)" = "$1" ]; }
expect_shown() { # seconds text
    wait_until "$1" says "$2" || fail "expected \"$2\", shown: $(shown); log: $(tail -n 20 "$work/log")"
}
state_changes() { grep -c 'Connection state changed' "$work/log" || true; }

online_at_start() { grep -q 'Connection state changed: online' "$work/log"; }
wait_until 15 online_at_start || fail "no verdict: $(cat "$work/log")"
probed() { grep -q 'Probe: [0-9]' "$work/log"; }
wait_until 10 probed || fail "no probe answered: $(cat "$work/log")"
sleep 1
[ -z "$(shown)" ] || fail "a start online is not news: $(shown)"

# The link goes: the path monitor hears it from the kernel at once.
ip link set "v$client" down
expect_shown 5 "You're offline | The computer has no network connection."
ip link set "v$client" up
ip route add default via 10.77.0.2
expect_shown 10 "Connection restored | The internet connection works normally again."

# The link stays up but nothing gets through to the resolver: every sample times out.
ip netns exec "$resolver" nft add table inet ravo_test
ip netns exec "$resolver" nft add chain inet ravo_test input '{ type filter hook input priority 0; }'
ip netns exec "$resolver" nft add rule inet ravo_test input tcp dport 443 drop
expect_shown 40 "You're offline | Connected to the network, but the internet isn't reachable."
ip netns exec "$resolver" nft delete table inet ravo_test
expect_shown 15 "Connection restored | The internet connection works normally again."

# Queueing delay: a 1 Mbit/s link towards the client kept full by a UDP stream a little
# above that rate, so every handshake's answer waits about half a second in the queue.
ip netns exec "$resolver" tc qdisc add dev "v$resolver" root tbf rate 1mbit burst 16kbit latency 500ms
ip netns exec "$resolver" /usr/bin/python3 -c '
import socket, time
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
payload = bytes(1200)
while True:
    for _ in range(12): s.sendto(payload, ("10.77.0.1", 9))
    time.sleep(0.1)' 2>/dev/null &
flood=$!
before=$(grep -c 'Probe: [0-9]* ms' "$work/log" || true)
poor() { last_shown | grep -q '^Poor connection | Latency [0-9]* ms, jitter [0-9]* ms.$'; }
wait_until 40 poor || fail "no poor connection: $(shown); log: $(tail -n 20 "$work/log")"
# The change came with the second slow probe, not the first.
slow_before_change=$(awk -v skip="$before" '
    /Probe: [0-9]+ ms/ { seen++; if (seen > skip) { ms = $0; sub(/.*Probe: /, "", ms); sub(/ ms.*/, "", ms); if (ms + 0 > 250) slow++; else slow = 0 } }
    /Connection state changed: degraded/ { print slow; exit }' "$work/log")
[ "$slow_before_change" = 2 ] || fail "poor after $slow_before_change slow probes: $(tail -n 30 "$work/log")"
latency=$(last_shown | sed 's/.*Latency \([0-9]*\) ms.*/\1/')
[ "$latency" -gt 250 ] && [ "$latency" -lt 2000 ] || fail "latency $latency ms is not the queue's"

kill $flood
flood=''
ip netns exec "$resolver" tc qdisc del dev "v$resolver" root
expect_shown 30 "Connection restored | The internet connection works normally again."
kill -0 $ravo || fail "ravo died: $(cat "$work/log")"
# The start, then three problems and three recoveries: nothing told twice.
[ "$(state_changes)" -eq 7 ] || fail "$(state_changes) state changes: $(grep 'state changed' "$work/log")"

# The link flaps: down and up every 1.5 s for 12 s. One notice says it is unstable, and
# one says it works again once it has stayed up.
notices_before=$(grep -c 'Connection notice:' "$work/log" || true)
changes_before=$(state_changes)
for _ in 1 2 3 4 5 6 7 8; do
    ip link set "v$client" down
    sleep 0.75
    ip link set "v$client" up
    ip route add default via 10.77.0.2 2>/dev/null || true
    sleep 0.75
done
flaps=$(($(state_changes) - changes_before))
[ "$flaps" -ge 8 ] || fail "only $flaps state changes while flapping: $(tail -n 30 "$work/log")"
expect_shown 15 "Connection restored | The internet connection works normally again."
notices=$(grep 'Connection notice:' "$work/log" | tail -n +"$((notices_before + 1))" | sed 's/.*Connection notice: //')
[ "$notices" = "Unstable connection
Connection restored" ] || fail "told while flapping: $notices"
shown | grep -qx "Unstable connection | The connection keeps dropping and coming back. You'll be told when it settles." ||
    fail "the unstable notice was not shown: $(shown)"
echo "offline, no internet and a poor connection were each told once and recovered;" \
    "poor after exactly two slow probes ($latency ms); $flaps flaps told once as unstable;" \
    "IPv6 only is online"
