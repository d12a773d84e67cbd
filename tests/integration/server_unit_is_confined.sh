#!/usr/bin/env bash
# The systemd unit that `cmake --install` puts in place, as systemd reads it: it verifies,
# starts the server as its own system user with only its state folder writable, and rates
# an exposure under 4 in `systemd-analyze security`.
set -euo pipefail
bin=$1
unit=$2
source "$(dirname "$0")/lib.sh"
use_temporary_home
command -v systemd-analyze >/dev/null || fail "systemd-analyze is missing (scripts/install-deps.sh --tests)"
# As installed, but pointing at this build's binary.
sed "s|/usr/local/bin/ravo-server|$bin/ravo-server|" "$unit" >"$work/ravo-server.service"
systemd-analyze verify "$work/ravo-server.service" || fail "systemd does not accept the unit"
systemd-analyze security --offline=yes --threshold=40 "$work/ravo-server.service" >"$work/security" ||
    fail "exposure over 4: $(tail -n 1 "$work/security")"
for setting in User=ravo-server StateDirectory=ravo-server UMask=0077 NoNewPrivileges=yes \
    ProtectSystem=strict ProtectHome=yes PrivateTmp=yes LimitNOFILE= \
    LoadCredential=ravo-server.conf:/etc/ravo-server/ravo-server.conf; do
    grep -q "^$setting" "$unit" || fail "the unit lacks $setting"
done
grep -q -- '--config %d/ravo-server.conf' "$unit" || fail "the configuration is not read from the credential"
echo "the unit verifies: $(tail -n 1 "$work/security" | sed 's/^→ //')"
