# Shared by the network tests: hosts of their own in network namespaces, joined by a veth
# pair. Needs root; without it the test is skipped (exit 77).

require_root() {
    [ "$(id -u)" -eq 0 ] || { echo "SKIP: network namespaces need root"; exit 77; }
    command -v ip >/dev/null && command -v tc >/dev/null && command -v nft >/dev/null ||
        fail "ip, tc and nft are needed (scripts/install-deps.sh --tests)"
}

# Two hosts on 10.$3.0.0/24: $1 at .1 (its default route goes to the other) and $2 at .2.
# The veth ends are named after the hosts.
make_hosts() { # client server subnet
    ip netns add "$1"
    ip netns add "$2"
    ip link add "v$1" netns "$1" type veth peer name "v$2" netns "$2"
    ip -n "$1" addr add "10.$3.0.1/24" dev "v$1"
    ip -n "$2" addr add "10.$3.0.2/24" dev "v$2"
    for host in "$1" "$2"; do
        ip -n "$host" link set lo up
        ip -n "$host" link set "v$host" up
    done
    ip -n "$1" route add default via "10.$3.0.2"
}

remove_hosts() {
    for host in "$@"; do ip netns pids "$host" 2>/dev/null | xargs -r kill 2>/dev/null || true; done
    for host in "$@"; do ip netns del "$host" 2>/dev/null || true; done
}
