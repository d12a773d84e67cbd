#!/usr/bin/env bash
# Password sign-in for one user, quiet and under a guessing flood from 60,000 addresses (wrk
# behind a trusted proxy, a new X-Forwarded-For each request, wrong passwords for a real
# account and for unknown ones): the user's p50 and p99 both ways; and how long a wrong
# password takes for a real account against an unknown one. Needs wrk (Debian's package).
#   bench/measure_server_sign_in.sh [build] [tries]
set -euo pipefail
build=${1:-build}
tries=${2:-40}
work=$(mktemp -d)
server='' flood=''
trap 'kill $server $flood 2>/dev/null || true; rm -rf "$work"' EXIT
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
database="sqlite:$work/ravo.db"
for who in user victim known; do
    printf 'a long enough password\n' | "$build/bin/ravo-server" user add "$who@example.org" \
        --password-stdin --database "$database" >/dev/null
done
"$build/bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --threads 2 \
    --trusted-proxies 127.0.0.1/32 2>"$work/server.log" &
server=$!
url=http://127.0.0.1:$port/api/v1/auth/token
for _ in $(seq 50); do curl -s -o /dev/null "$url" && break; sleep 0.1; done

# Sign-in times in ms, each from client 198.51.X.N of its own: prints "p50 p99". An email
# with a % in it gets the try's number there.
sign_in_times() { # email password first-client [tries]
    for n in $(seq "${4:-$tries}"); do
        curl -s -o /dev/null -w '%{time_total}\n' -X POST "$url" -H 'Content-Type: application/json' \
            -H "X-Forwarded-For: 198.51.$(($3 + n / 250)).$((n % 250 + 1))" \
            -d "{\"email\":\"${1//%/$n}\",\"password\":\"$2\",\"device_name\":\"bench\"}"
    done | sort -n | awk '{t[NR] = $1 * 1000} END {
        a = int(NR * 0.5 + 0.999); b = int(NR * 0.99 + 0.999); printf "%.1f %.1f\n", t[a], t[b]}'
}

read -r quiet50 quiet99 < <(sign_in_times user@example.org 'a long enough password' 100)
cat >"$work/flood.lua" <<'LUA'
local n = 0
request = function()
    n = n + 1
    local client = string.format("10.%d.%d.%d", (n // 65536) % 256, (n // 256) % 256, n % 256)
    local who = (n % 2 == 0) and "victim@example.org" or string.format("nobody%d@example.org", n)
    local body = string.format('{"email":"%s","password":"guess %d","device_name":"x"}', who, n % 60000)
    return wrk.format("POST", nil, {["Content-Type"] = "application/json",
                                    ["X-Forwarded-For"] = client}, body)
end
LUA
wrk -t 2 -c 64 -d 120s -s "$work/flood.lua" "$url" >"$work/flood.txt" 2>&1 &
flood=$!
sleep 3
read -r flood50 flood99 < <(sign_in_times user@example.org 'a long enough password' 110)
kill -INT $flood
wait $flood 2>/dev/null || true
flood=''
# Nine tries: the tenth failure would lock the account.
read -r known50 _ < <(sign_in_times known@example.org 'wrong' 120 9)
read -r unknown50 _ < <(sign_in_times "nobody-%@example.org" 'wrong' 130 9)
echo "sign-in quiet:      p50 ${quiet50} ms, p99 ${quiet99} ms"
echo "sign-in under flood: p50 ${flood50} ms, p99 ${flood99} ms ($(grep -E 'Requests/sec' "$work/flood.txt" | awk '{print $2}') guesses/s)"
echo "wrong password, real account ${known50} ms; unknown address ${unknown50} ms"
