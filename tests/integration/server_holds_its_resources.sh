#!/usr/bin/env bash
# ravo-server's own resources under strangers, on loopback: request framing it must refuse,
# clients behind a trusted proxy, a cap on connections and a process out of file
# descriptors (no spinning, and back by itself), the speed test's access and budgets, the
# modes of the files it writes, and secrets kept out of `ps`.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
servers=() holder=''
trap 'kill "${servers[@]}" $holder 2>/dev/null || true; [ -n "${passed:-}" ] || tail -n 20 "$work"/*.log >&2; rm -rf "$work"' EXIT

start_server() { # name args... -> sets $api and $pid; logs to $work/name.log
    local name=$1 port
    shift
    port=$(free_port)
    "$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/$name.db" "$@" \
        >"$work/$name.log" 2>&1 &
    pid=$!
    servers+=("$pid")
    api=http://127.0.0.1:$port/api/v1
    wait_for_server "$work/$name.log"
}

# Raw bytes on one connection: prints what comes back until the server hangs up (or 5 s).
raw() { # request-bytes
    python3 - "${api#http://}" "$1" <<'PY'
import socket, sys
host, port = sys.argv[1].split("/")[0].split(":")
s = socket.create_connection((host, int(port)), timeout=2)
s.sendall(sys.argv[2].encode().decode("unicode_escape").encode("latin-1"))
data = b""
try:
    while chunk := s.recv(65536):
        data += chunk
    print(data.decode(errors="replace").split("\r\n")[0], "closed")
except socket.timeout:
    print(data.decode(errors="replace").split("\r\n")[0], "open")
PY
}

# CPU seconds the process used over `seconds`, as a percentage of one core.
cpu_percent() { # pid seconds
    local hz before after
    hz=$(getconf CLK_TCK)
    before=$(awk '{print $14 + $15}' "/proc/$1/stat")
    sleep "$2"
    after=$(awk '{print $14 + $15}' "/proc/$1/stat")
    echo $(((after - before) * 100 / hz / $2))
}

# Holds COUNT idle connections to the server until its input closes: sets $holder.
hold_connections() { # count
    local port=${api#http://127.0.0.1:}
    exec {hold_in}> >(python3 -c '
import socket, sys
held = []
for _ in range(int(sys.argv[2])):
    try:
        held.append(socket.create_connection(("127.0.0.1", int(sys.argv[1])), timeout=2))
    except OSError:
        break
open(sys.argv[3], "w").write(str(len(held)))
sys.stdin.read()
' "${port%%/*}" "$1" "$work/held")
    holder=$!
    wait_until 10 test -s "$work/held" || fail "could not open connections"
}
release_connections() { exec {hold_in}>&-; wait_until 5 sh -c "! kill -0 $holder 2>/dev/null"; rm -f "$work/held"; holder=''; }

# --- Framing a server cannot be sure of is refused, and the connection closed.
start_server main --trusted-proxies 127.0.0.9/32 --speedtest-mib-per-hour 2048
main=$pid
for framing in 'Transfer-Encoding: xchunked' 'Transfer-Encoding: chunked, gzip' \
    'Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked' 'Transfer-Encoding: chunked\r\nContent-Length: 5'; do
    answer=$(raw "POST /api/v1/auth/token HTTP/1.1\r\nHost: x\r\n$framing\r\n\r\n5\r\nhello\r\n0\r\n\r\n")
    [ "$answer" = "HTTP/1.1 400 Bad Request closed" ] || fail "$framing: $answer"
done
answer=$(raw 'POST /api/v1/auth/token HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n')
[ "$answer" = "HTTP/1.1 400 Bad Request open" ] || fail "a chunked body was not read as one: $answer"

# --- Behind a proxy: its forwarded client is the one limited; from anyone else the header
# counts for nothing.
attempt() { # source [forwarded-for] -> status of a sign-in attempt
    local args=(-s -o /dev/null -w '%{http_code}' --interface "$1" -X POST "$api/auth/email/verify"
        --data-binary '{"id":"x","code":"1","code_verifier":"x"}')
    [ -n "${2:-}" ] && args+=(-H "X-Forwarded-For: $2")
    curl "${args[@]}"
}
for _ in $(seq 30); do [ "$(attempt 127.0.0.9 198.51.100.1)" = 401 ] || fail "limited too soon"; done
[ "$(attempt 127.0.0.9 198.51.100.1)" = 429 ] || fail "the proxied client was not limited"
[ "$(attempt 127.0.0.9 '198.51.100.1, 127.0.0.9')" = 429 ] || fail "a trusted hop hid the client"
[ "$(attempt 127.0.0.9 198.51.100.2)" = 401 ] || fail "another client behind the proxy was limited"
[ "$(attempt 127.0.0.9 '198.51.100.1, 198.51.100.3')" = 401 ] ||
    fail "the client's own claim was taken over the proxy's"
for n in $(seq 30); do [ "$(attempt 127.0.0.3 "203.0.113.$n")" = 401 ] || fail "limited too soon"; done
[ "$(attempt 127.0.0.3 203.0.113.99)" = 429 ] || fail "an untrusted peer chose its address"
# An IPv6 client roams its /64 freely, so the /64 is what counts.
for n in $(seq 30); do [ "$(attempt 127.0.0.9 "2001:db8:5:5::$n")" = 401 ] || fail "limited too soon"; done
[ "$(attempt 127.0.0.9 2001:db8:5:5:ffff::1)" = 429 ] || fail "a /64 got past the limit"
[ "$(attempt 127.0.0.9 2001:db8:5:6::1)" = 401 ] || fail "the next /64 was limited"

# --- The speed test: budgets per client, and who may use it.
streams() { # count -> statuses of that many endless downloads held open at once, sorted
    python3 - "${api#http://}" "$1" <<'PY' | sort | uniq -c | awk '{printf "%s:%s ", $2, $1}'
import socket, sys
host, port = sys.argv[1].split("/")[0].split(":")
held = []
for _ in range(int(sys.argv[2])):
    s = socket.create_connection((host, int(port)), timeout=5)
    s.sendall(b"GET /api/v1/speedtest/large HTTP/1.1\r\nHost: x\r\n\r\n")
    print(s.recv(64).split(b" ")[1].decode())
    held.append(s)
PY
}
[ "$(streams 21)" = "200:20 429:1 " ] || fail "21 downloads at once: $(streams 21)"
start_server budget --speedtest-mib-per-hour 3
got=$(curl -s -o /dev/null -w '%{size_download}' "$api/speedtest/large" || true)
[ "$got" = $((3 << 20)) ] || fail "a client with 3 MiB an hour downloaded $got bytes"
expect "$(call GET speedtest/large)" 429
start_server signed --speedtest signed-in
expect "$(call GET speedtest/config)" 401
expect "$(call GET speedtest/large)" 401
token=$(database=sqlite:$work/signed.db password_token "$bin" runner@example.org)
expect "$(call GET speedtest/config "" "$token")" 200
start_server closed --speedtest off
expect "$(call GET speedtest/config)" 404

# --- One client cannot take every connection: past its share it is hung up on; others are
# served.
start_server shared --max-connections-per-client 4
hold_connections 10
from=127.0.0.5
expect "$(call GET me)" 401
from=''
curl -s -o /dev/null --max-time 2 "$api/me" && fail "a client past its share was served"
release_connections
expect "$(call GET me)" 401

# --- At its cap, new connections wait in the kernel's queue; nothing spins; room comes back.
start_server capped --max-connections 8
hold_connections 30
[ "$(cpu_percent "$pid" 3)" -lt 10 ] || fail "the server spins at its connection cap"
curl -s -o /dev/null --max-time 1 "$api/me" && fail "a connection past the cap was served"
release_connections
expect "$(call GET me)" 401

# Out of file descriptors, the same: backs off, and recovers by itself.
port=$(free_port)
prlimit --nofile=48:48 "$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/fds.db" \
    --max-connections 1000 >"$work/fds.log" 2>&1 &
pid=$!
servers+=("$pid")
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/fds.log"
hold_connections 80
wait_until 5 grep -q 'cannot accept connections' "$work/fds.log" || fail "no file descriptors ran out"
[ "$(cpu_percent "$pid" 3)" -lt 10 ] || fail "the server spins out of file descriptors"
release_connections
wait_until 5 sh -c "[ \"\$(curl -s -o /dev/null -w '%{http_code}' $api/me)\" = 401 ]" ||
    fail "the server did not recover from running out of file descriptors"

# --- Its files are its own; an older, readable database is made so.
for file in main.db main.db-wal main.db-shm; do
    [ "$(stat -c %a "$work/$file")" = 600 ] || fail "$file is $(stat -c %a "$work/$file")"
done
touch "$work/old.db"
chmod 644 "$work/old.db"
start_server old
[ "$(stat -c %a "$work/old.db")" = 600 ] || fail "an old database stays readable by others"

# --- Addresses kept as typed by an older version (whose database had no layout version) are
# folded to the one sign-in looks up when it is upgraded.
printf 'correct horse battery\n' | "$bin/ravo-server" user add one@example.org --password-stdin \
    --database "sqlite:$work/fold.db" >/dev/null
python3 -c "import sqlite3, sys; db = sqlite3.connect(sys.argv[1])
db.execute(\"UPDATE accounts SET email = 'One@Example.ORG.'\"); db.execute('DROP TABLE schema_version'); db.execute('ALTER TABLE accounts DROP COLUMN sites_version'); db.commit()" "$work/fold.db"
start_server fold
expect "$(call POST auth/token '{"email":"one@example.org","password":"correct horse battery","device_name":"x"}')" 200

# --- Secrets: a flag's value is wiped from the arguments and the operator told why.
printf '123456:from-a-file-from-a-file-from-a-file\n' >"$work/bot-token"
start_server secrets --smtp-password 'hunter2 and more' --telegram-bot-token-file "$work/bot-token"
grep -q -- '--smtp-password is seen by every user' "$work/secrets.log" || fail "no warning about the flag"
tr '\0' ' ' <"/proc/$pid/cmdline" | grep -q hunter2 && fail "ps shows the SMTP password"
passed=1
echo "framing refused, proxied clients limited, connections capped without spinning, budgets held, files private"
