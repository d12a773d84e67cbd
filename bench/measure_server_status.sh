#!/usr/bin/env bash
# GET sites/status for an account of 10 sites under wrk: requests per second and latency
# percentiles. Needs wrk (Debian's package) and a password account, so no mail is involved.
#   bench/measure_server_status.sh [build] [seconds] [connections]
set -euo pipefail
build=${1:-build}
seconds=${2:-15}
connections=${3:-32}
work=$(mktemp -d)
trap 'kill $server 2>/dev/null || true; rm -rf "$work"' EXIT
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
database="sqlite:$work/ravo.db"
printf 'a long enough password\n' | "$build/bin/ravo-server" user add bench@example.org \
    --password-stdin --database "$database" >/dev/null
"$build/bin/ravo-server" --listen "127.0.0.1:$port" --database "$database" --threads 2 \
    2>"$work/server.log" &
server=$!
api=http://127.0.0.1:$port/api/v1
for _ in $(seq 50); do curl -s -o /dev/null "$api/me" && break; sleep 0.1; done
token=$(curl -s -X POST "$api/auth/token" -H 'Content-Type: application/json' \
    -d '{"email":"bench@example.org","password":"a long enough password","device_name":"wrk"}' | jq -r .token)
sites=$(python3 -c 'import json, uuid
print(json.dumps([{"id": str(uuid.uuid4()), "url": f"https://site{i}.example/", "name": f"Site {i}",
                   "enabled": True, "interval_minutes": 5} for i in range(10)]))')
curl -s -o /dev/null -X PUT "$api/sites/sync" -H "Authorization: Bearer $token" \
    -H 'Content-Type: application/json' --data-binary "$sites"
wrk -t 2 -c "$connections" -d "${seconds}s" --latency -H "Authorization: Bearer $token" \
    "$api/sites/status" | grep -E 'Requests/sec|50%|90%|99%|Non-2xx|Socket errors'
echo "resident: $(awk '/VmRSS/ {print $2, $3}' /proc/$server/status)"
