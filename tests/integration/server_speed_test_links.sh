#!/usr/bin/env bash
# The speed test's links as clients elsewhere meet them: without public-url they name the
# host and port the client used, so a client that is not on the server's machine can follow
# them; a trusted proxy's headers count, anyone else's do not, and a Host that is not a host
# is refused rather than echoed.
set -euo pipefail
bin=$1
here=$(dirname "$0")
source "$here/lib.sh"
source "$here/server_lib.sh"
use_temporary_home
first='' second=''
trap 'kill $first $second 2>/dev/null || true; rm -rf "$work"' EXIT

port=$(free_port)
"$bin/ravo-server" --listen "0.0.0.0:$port" --database "sqlite:$work/first.db" --checker off \
    >"$work/first.log" 2>&1 &
first=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/first.log"
grep -q "without public-url or trusted-proxies" "$work/first.log" ||
    fail "listening beyond loopback was not explained: $(cat "$work/first.log")"
[ "$(grep -c "public-url" "$work/first.log")" = 1 ] || fail "more than one line: $(cat "$work/first.log")"

# A client that reached the server at another address gets links to that address, and
# they work.
links=$(curl -sf "http://127.0.0.2:$port/api/v1/speedtest/config")
small=$(jq -r .urls.small_https_download_url <<<"$links")
[ "$small" = "http://127.0.0.2:$port/api/v1/speedtest/small" ] || fail "links: $links"
[ "$(curl -sf "$small" | wc -c)" = 1 ] || fail "the small download did not answer at $small"
upload=$(curl -sf -H "Host: ravo.test:$port" "$api/speedtest/config" | jq -r .urls.https_upload_url)
[ "$upload" = "http://ravo.test:$port/api/v1/speedtest/upload" ] || fail "named host: $upload"
# Nobody but a trusted proxy speaks for the client.
upload=$(curl -sf -H 'X-Forwarded-Proto: https' -H 'X-Forwarded-Host: evil.example' \
    "$api/speedtest/config" | jq -r .urls.https_upload_url)
[ "$upload" = "http://127.0.0.1:$port/api/v1/speedtest/upload" ] || fail "believed a client: $upload"
# Hosts that are not hosts, sent as raw bytes.
raw() { # host-header-line
    python3 - "$port" "$1" <<'PY'
import socket, sys
s = socket.create_connection(("127.0.0.1", int(sys.argv[1])))
s.sendall(b"GET /api/v1/speedtest/config HTTP/1.1\r\n" + sys.argv[2].encode() +
          b"\r\nConnection: close\r\n\r\n")
answer = b""
while chunk := s.recv(65536):
    answer += chunk
print(answer.split(b"\r\n", 1)[0].decode(), "|", answer.split(b"\r\n\r\n", 1)[-1].decode(errors="replace"))
PY
}
for host in 'Host: evil.example/path' 'Host: a b' 'Host: user@evil.example' \
    "Host: $(head -c 400 /dev/zero | tr '\0' a)" 'Host: evil.example:70000' 'Host: "x"'; do
    answer=$(raw "$host")
    [[ $answer == "HTTP/1.1 400"* ]] || fail "$host: $answer"
    [[ $answer != *evil* ]] || fail "echoed: $answer"
done

# Behind a trusted proxy: its word on scheme and host.
port2=$(free_port)
"$bin/ravo-server" --listen "0.0.0.0:$port2" --database "sqlite:$work/second.db" --checker off \
    --trusted-proxies 127.0.0.1/32 >"$work/second.log" 2>&1 &
second=$!
api=http://127.0.0.1:$port2/api/v1
wait_for_server "$work/second.log"
! grep -q "public-url" "$work/second.log" || fail "a proxied server was warned: $(cat "$work/second.log")"
upload=$(curl -sf -H 'X-Forwarded-Proto: https' -H 'X-Forwarded-Host: ravo.example.org' \
    "$api/speedtest/config" | jq -r .urls.https_upload_url)
[ "$upload" = "https://ravo.example.org/api/v1/speedtest/upload" ] || fail "proxy: $upload"
upload=$(curl -sf --interface 127.0.0.3 -H 'X-Forwarded-Host: evil.example' \
    "http://127.0.0.1:$port2/api/v1/speedtest/config" | jq -r .urls.https_upload_url)
[ "$upload" = "http://127.0.0.1:$port2/api/v1/speedtest/upload" ] || fail "untrusted peer: $upload"
echo "speed-test links follow the address clients used; only trusted proxies speak for them"
