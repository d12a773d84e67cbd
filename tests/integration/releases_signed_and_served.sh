#!/usr/bin/env bash
# A publisher's round: a key from ravo-release, a manifest signed with it, served by
# ravo-server from its release folder, and checked with Ravo's own verifier as the app would
# for three running builds. Then what must never pass: another key, one changed byte, an
# http download link, an envelope that is not JSON or not base64.
set -euo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/server_lib.sh"
use_temporary_home
trap 'kill $server 2>/dev/null || true; cat "$work/server.log" >&2; rm -rf "$work"' EXIT

release() { "$bin/ravo-release" "$@"; }
mkdir -p "$work/releases"
key=$(release keygen "$work/release.pem")
[ "$(release public-key --key "$work/release.pem")" = "$key" ] || fail "public-key disagrees with keygen"
[ "$(stat -c %a "$work/release.pem")" = 600 ] || fail "the private key is readable by others"

manifest() { # build minimumBuild downloadURL
    cat <<JSON
{"version": "1.$1", "build": $1, "minimumBuild": $2, "publishedAt": "2026-11-20T08:00:00Z",
 "downloadURL": "$3", "sha256": "$(printf 'release' | sha256sum | cut -d' ' -f1)",
 "notes": "Quieter alerts."}
JSON
}
manifest 20 8 https://downloads.example.org/ravo-1.20.tar.gz >"$work/manifest.json"
release sign --key "$work/release.pem" "$work/manifest.json" >"$work/releases/linux-stable.json" ||
    fail "sign failed"

port=$(free_port)
"$bin/ravo-server" --listen "127.0.0.1:$port" --database "sqlite:$work/ravo.db" --checker off \
    --release-dir "$work/releases" >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port/api/v1
wait_for_server "$work/server.log"
served=$(call GET 'releases/latest?platform=linux&channel=stable')
expect "$served" 200
body_of "$served" >"$work/served.json"
cmp -s "$work/served.json" "$work/releases/linux-stable.json" || fail "the server changed the envelope"
expect "$(call GET 'releases/latest?platform=mac&channel=stable')" 404

decision() { release verify --public-key "$key" --build "$1" "$work/served.json" | tail -n 1; }
[ "$(decision 20)" = upToDate ] || fail "build 20: $(decision 20)"
[ "$(decision 12)" = available ] || fail "build 12: $(decision 12)"
[ "$(decision 7)" = required ] || fail "build 7: $(decision 7)"
release verify --public-key "$key" "$work/served.json" | grep -q '"notes": "Quieter alerts."' ||
    fail "verify does not print the manifest"

refused() { # expected-text envelope-file [public-key]
    local out status=0
    out=$(release verify --public-key "${3:-$key}" --build 12 "$2" 2>&1) || status=$?
    [ "$status" = 1 ] || fail "$2 passed (exit $status): $out"
    [ "$out" = "$1" ] || fail "$2: expected '$1', got '$out'"
}
other=$(release keygen "$work/other.pem")
refused "The update information isn't signed by Ravo." "$work/served.json" "$other"

# One byte of the signed payload changed, the base64 still well formed.
jq -c '.payload |= (@base64d | sub("\"build\": *20"; "\"build\": 21") | @base64)' "$work/served.json" \
    >"$work/changed.json"
jq -r .payload "$work/changed.json" | base64 -d | grep -q '"build": 21' || fail "the payload was not changed"
refused "The update information isn't signed by Ravo." "$work/changed.json"
jq -c '.payload = "not base64!"' "$work/served.json" >"$work/garbled.json"
refused "The update information is unreadable." "$work/garbled.json"
printf '{"payload": ' >"$work/cut.json"
refused "The update information is unreadable." "$work/cut.json"

# Signed with openssl as anyone with the key could: build numbers past what Ravo can hold
# are unreadable, never wrapped into small ones.
openssl_signed() { # manifest-file -> envelope on stdout
    openssl pkeyutl -sign -inkey "$work/release.pem" -rawin -in "$1" -out "$1.sig"
    jq -n --arg payload "$(base64 -w0 "$1")" --arg signature "$(base64 -w0 "$1.sig")" \
        '{payload: $payload, signature: $signature}'
}
for huge in 9223372036854775808 18446744073709551615 -1; do
    manifest 22 "$huge" https://downloads.example.org/ravo-1.22.tar.gz >"$work/huge-manifest.json"
    openssl_signed "$work/huge-manifest.json" >"$work/huge.json"
    refused "The update information is unreadable." "$work/huge.json"
    release sign --key "$work/release.pem" "$work/huge-manifest.json" >/dev/null 2>&1 &&
        fail "minimumBuild $huge was signed"
done

# An envelope Ravo would not read (past 4 MiB) is not written.
python3 - "$work/manifest.json" >"$work/long-manifest.json" <<'PY'
import json, sys
manifest = json.load(open(sys.argv[1]))
manifest["notes"] = "Quieter alerts. " * 220000
print(json.dumps(manifest))
PY
status=0
signed=$(release sign --key "$work/release.pem" "$work/long-manifest.json" 2>&1) || status=$?
[ "$status" = 1 ] && [[ "$signed" == "The signed envelope would be "*" bytes, and Ravo reads at most 4194304 of one: shorten the notes." ]] ||
    fail "an envelope Ravo refuses was written ($status): ${signed:0:200}"

# ravo-release will not sign an http link; signed anyway with openssl, the app refuses it.
manifest 21 8 http://downloads.example.org/ravo-1.21.tar.gz >"$work/insecure-manifest.json"
status=0
signed=$(release sign --key "$work/release.pem" "$work/insecure-manifest.json" 2>&1) || status=$?
[ "$status" = 1 ] && [ "$signed" = "The update download link isn't secure." ] ||
    fail "an http link was signed: $signed"
openssl_signed "$work/insecure-manifest.json" >"$work/insecure.json"
refused "The update download link isn't secure." "$work/insecure.json"
echo "releases signed and served: ok"
