# Shared by the ravo-server scripts (after lib.sh): ports, calls with curl, and targets.

# Below the kernel's ephemeral range, which outgoing connections of parallel tests draw
# from, and free on every address, since some servers here listen on all of them.
free_port() {
    python3 -c '
import random, socket
while True:
    port = random.randint(20000, 32000)
    try:
        for host in ("0.0.0.0", "127.0.0.1"):
            s = socket.socket(); s.bind((host, port)); s.close()
        print(port); break
    except OSError:
        pass'
}

# $from, when set, is the loopback address the call comes from; the answer's headers are
# left in $work/headers.
call() { # method path [body] [token] -> prints "<status> <body>"; needs $api and $work
    local args=(-s -o "$work/body" -D "$work/headers" -w '%{http_code}' -X "$1" "$api/$2")
    [ -n "${from:-}" ] && args+=(--interface "$from")
    [ -n "${3:-}" ] && args+=(-H 'Content-Type: application/json' --data-binary "$3")
    [ -n "${4:-}" ] && args+=(-H "Authorization: Bearer $4")
    local status
    status=$(curl "${args[@]}")
    echo "$status $(cat "$work/body")"
}

expect() { # "status body" status
    [ "${1%% *}" = "$2" ] || fail "expected HTTP $2, got: $1"
}

body_of() { echo "${1#* }"; }

# ravo-server without its checker on a SQLite file of the test's, logging to
# $work/server.log; $1 is the folder of the binaries. A restart keeps the port. Sets $port,
# $database and $api the first time, $server each time.
start_plain_server() {
    if [ -z "${port:-}" ]; then
        port=$(free_port)
        database=sqlite:$work/ravo.db
        api=http://127.0.0.1:$port/api/v1
    fi
    "$1/ravo-server" --listen "127.0.0.1:$port" --database "$database" --checker off \
        >>"$work/server.log" 2>&1 &
    server=$!
    wait_for_server "$work/server.log"
}

# Waits until ravo-server answers at $api; $1 is its log.
wait_for_server() {
    wait_until 15 curl -s -o /dev/null "$api/me" || fail "the server did not start: $(cat "$1")"
}

# A password account made the operator's way, signed in: prints the token.
password_token() { # bin email
    printf 'correct horse battery\n' | "$1/ravo-server" user add "$2" --password-stdin \
        --database "$database" >/dev/null || fail "user add"
    local login
    login=$(call POST auth/token "{\"email\":\"$2\",\"password\":\"correct horse battery\",\"platform\":\"mac\",\"device_name\":\"CI\"}")
    expect "$login" 200
    jq -r .token <<<"$(body_of "$login")"
}

# The loopback websites of target_sites.py; sets $targets (its pid). Arguments: the ports
# it listens on, PORT or PORT:CERT:KEY.
start_targets() {
    mkdir -p "$work/targets"
    python3 "$(dirname "${BASH_SOURCE[0]}")/target_sites.py" "$work/targets" "$@" \
        >"$work/targets.log" 2>&1 &
    targets=$!
    wait_until 10 test -e "$work/targets/ready" || fail "the target sites did not start"
}

# A PostgreSQL of the test's own, from Debian's packages, on a loopback port: sets
# $database and $postgres_dir. As root it runs as the postgres user, which it must.
start_postgres() {
    local port
    postgres_bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
    [ -x "$postgres_bin/initdb" ] || fail "PostgreSQL is not installed (scripts/install-deps.sh --tests)"
    postgres_dir=$(mktemp -d /tmp/ravo-postgres.XXXXXX)
    postgres_as=()
    if [ "$(id -u)" = 0 ]; then
        chown postgres: "$postgres_dir"
        postgres_as=(runuser -u postgres --)
    fi
    port=$(free_port)
    "${postgres_as[@]}" "$postgres_bin/initdb" -D "$postgres_dir/data" -A trust -U ravo >/dev/null ||
        fail "initdb failed"
    postgres_ctl() { "${postgres_as[@]}" "$postgres_bin/pg_ctl" -D "$postgres_dir/data" "$@"; }
    postgres_options="-p $port -k $postgres_dir -c listen_addresses=127.0.0.1 -c fsync=off"
    postgres_ctl -l "$postgres_dir/log" -o "$postgres_options" -w start >/dev/null ||
        fail "PostgreSQL did not start: $(cat "$postgres_dir/log")"
    database=postgresql://ravo@127.0.0.1:$port/postgres
}

stop_postgres() {
    [ -n "${postgres_dir:-}" ] || return 0
    postgres_ctl -m immediate stop >/dev/null 2>&1 || true
    rm -rf "$postgres_dir"
}
