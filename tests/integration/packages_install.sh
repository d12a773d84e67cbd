#!/usr/bin/env bash
# The Debian packages as an operator meets them: built by scripts/package.sh, accepted by
# lintian, installed with apt (offline: every dependency is already here), used, reinstalled
# over an edited configuration, removed and purged. It changes the real system, so it runs as
# root on a machine of its own (CI) and purges both packages on exit, failed or not.
set -euo pipefail
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/server_lib.sh"
root=$(cd "$(dirname "$0")/../.." && pwd)
[ "$(id -u)" = 0 ] || { echo "SKIP: installs packages, which needs root"; exit 77; }
for package in ravo ravo-server; do
    ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
        fail "$package is already installed; purge it first (apt-get purge $package)"
done
# A server set up by hand here is someone's: its data must not meet our purge.
[ ! -e /etc/ravo-server ] && [ ! -e /var/lib/ravo-server ] ||
    { echo "SKIP: this machine has a ravo-server of its own in /etc or /var/lib"; exit 77; }
for tool in lintian jq curl runuser systemd-analyze; do
    command -v "$tool" >/dev/null || fail "$tool is missing (scripts/install-deps.sh --tests)"
done

use_temporary_home
getent passwd ravo-server >/dev/null && user_existed=yes || user_existed=no
server=""
apt() { DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Dpkg::Use-Pty=0 "$@" >>"$work/apt.log" 2>&1 ||
    fail "apt-get $*: $(tail -n 20 "$work/apt.log")"; }
clean_up() {
    [ -n "$server" ] && kill "$server" 2>/dev/null
    dpkg --purge ravo ravo-server >/dev/null 2>&1
    # The purge keeps the system user on purpose; one this test made goes with it.
    if [ "$user_existed" = no ] && getent passwd ravo-server >/dev/null; then
        deluser --quiet --system ravo-server >/dev/null 2>&1
        delgroup --quiet --system ravo-server >/dev/null 2>&1
    fi
    rm -rf "$work"
}
trap 'clean_up || true' EXIT
# apt reads the local packages as its own unprivileged user, and ravo runs as nobody below.
chmod 755 "$work"

"$root/scripts/package.sh" "$work/packages" >"$work/package.log" 2>&1 ||
    fail "scripts/package.sh: $(tail -n 30 "$work/package.log")"
debs=("$work"/packages/ravo_*.deb "$work"/packages/ravo-server_*.deb)
[ ${#debs[@]} = 2 ] && [ -f "${debs[0]}" ] && [ -f "${debs[1]}" ] || fail "no packages: $(ls "$work/packages")"
lintian --fail-on error "${debs[@]}" >"$work/lintian.log" 2>&1 ||
    fail "lintian finds errors: $(cat "$work/lintian.log")"

# The libraries are found by dpkg-shlibdeps from the binaries; only what is loaded at run
# time or used by the maintainer scripts is named by hand.
ravo_depends=$(dpkg-deb -f "${debs[0]}" Depends)
server_depends=$(dpkg-deb -f "${debs[1]}" Depends)
for needed in libqt6widgets6 libqt6dbus6 libc6 qt6-qpa-plugins; do
    grep -q "$needed" <<<"$ravo_depends" || fail "ravo does not depend on $needed: $ravo_depends"
done
for needed in libcurl4 libsqlite3-0 libpq5 libssl3 adduser; do
    grep -q "$needed" <<<"$server_depends" || fail "ravo-server does not depend on $needed: $server_depends"
done
! grep -q libqt6 <<<"$server_depends" || fail "ravo-server depends on Qt: $server_depends"

apt install "${debs[@]}"

# Where Debian puts things, and nothing under /usr/local.
for file in /usr/bin/ravo /usr/bin/ravo-hook /usr/bin/ravo-netquality /usr/bin/ravo-release \
    /usr/bin/ravo-server; do
    [ -x "$file" ] || fail "$file is not installed"
done
for file in /usr/share/applications/io.halvorsund.Ravo.desktop \
    /usr/share/icons/hicolor/scalable/apps/ravo.svg /usr/share/doc/ravo/README.md \
    /usr/share/doc/ravo/copyright /usr/share/doc/ravo/changelog.gz \
    /usr/share/doc/ravo-server/copyright /usr/share/doc/ravo-server/changelog.gz \
    /usr/share/man/man1/ravo.1.gz /usr/share/man/man8/ravo-server.8.gz \
    /lib/systemd/system/ravo-server.service /etc/ravo-server/ravo-server.conf; do
    [ -f "$file" ] || fail "$file is not installed"
done
listed=$(dpkg -L ravo ravo-server)
! grep -q '^/usr/local' <<<"$listed" || fail "the packages install under /usr/local: $(grep /usr/local <<<"$listed")"
gzip -t /usr/share/doc/ravo/changelog.gz || fail "the changelog is not gzip"
for page in $(grep '^/usr/share/man/.*/' <<<"$listed" | grep -v '/$' || true); do
    [ -d "$page" ] || { [[ $page == *.gz ]] && gzip -t "$page"; } || fail "$page is not compressed"
done
grep -qx 'ExecStart=/usr/bin/ravo-server --config %d/ravo-server.conf' \
    /lib/systemd/system/ravo-server.service || fail "the unit does not start /usr/bin/ravo-server"
[ "$(stat -c '%U:%G %a' /etc/ravo-server/ravo-server.conf)" = "root:root 600" ] ||
    fail "the configuration is $(stat -c '%U:%G %a' /etc/ravo-server/ravo-server.conf), not root's 600"
grep -qx /etc/ravo-server/ravo-server.conf /var/lib/dpkg/info/ravo-server.conffiles ||
    fail "the configuration is not a conffile"
! grep -Eq '^[^#]*(password|token)[^-]*=' /etc/ravo-server/ravo-server.conf ||
    fail "the example configuration holds a secret"

# An unprivileged user with a home of their own reads the machine.
install -d -o nobody -m 700 "$work/nobody"
runuser -u nobody -- env HOME="$work/nobody" XDG_RUNTIME_DIR= DISPLAY= WAYLAND_DISPLAY= \
    /usr/bin/ravo status --json >"$work/status.json" 2>"$work/status.err" ||
    fail "ravo status --json: $(cat "$work/status.err")"
jq -e '(.system.memory.total > 0) and (.system.disk.total > 0) and has("usage") and has("sessions")' \
    "$work/status.json" >/dev/null || fail "ravo status --json: $(head -c 600 "$work/status.json")"

# The service's own system user, and its state folder for it alone.
IFS=: read -r _ _ uid _ _ home shell < <(getent passwd ravo-server) || fail "no ravo-server user"
[ "$uid" -lt 1000 ] && [ "$home" = /var/lib/ravo-server ] && [[ $shell == */nologin ]] ||
    fail "ravo-server is not a system user: uid $uid, home $home, shell $shell"
getent group ravo-server >/dev/null || fail "no ravo-server group"
[ "$(stat -c '%U:%G %a' /var/lib/ravo-server)" = "ravo-server:ravo-server 700" ] ||
    fail "/var/lib/ravo-server is $(stat -c '%U:%G %a' /var/lib/ravo-server)"

# Enabled, yet not started: the operator configures it first.
wants=/etc/systemd/system/multi-user.target.wants/ravo-server.service
if [ -d /run/systemd/system ]; then
    [ "$(systemctl is-enabled ravo-server)" = enabled ] || fail "the unit is not enabled"
    ! systemctl -q is-active ravo-server || fail "the unit was started on install"
else
    [ "$(readlink "$wants")" = /lib/systemd/system/ravo-server.service ] ||
        fail "the unit is not enabled: $(ls -l "$wants" 2>&1)"
fi
! pgrep -u ravo-server >/dev/null || fail "something runs as ravo-server after the install"
systemd-analyze verify /lib/systemd/system/ravo-server.service >"$work/verify" 2>&1 ||
    fail "systemd does not accept the installed unit: $(cat "$work/verify")"

# The server as the service runs it: its user, its state folder, the shipped example
# configuration (which must parse as it is) with a free port.
port=$(free_port)
install -d -o ravo-server -m 700 "$work/server"
install -o ravo-server -m 600 /etc/ravo-server/ravo-server.conf "$work/server/ravo-server.conf"
echo "listen = 127.0.0.1:$port" >>"$work/server/ravo-server.conf"
(cd /var/lib/ravo-server && exec runuser -u ravo-server -- /usr/bin/ravo-server \
    --config "$work/server/ravo-server.conf") >"$work/server.log" 2>&1 &
server=$!
api=http://127.0.0.1:$port
wait_until 15 curl -s -o /dev/null "$api/" || fail "the server did not start: $(cat "$work/server.log")"
answer=$(curl -s -o "$work/body" -w '%{http_code}' "$api/healthz")
if [ "$answer" = 404 ]; then # a server without the health route: its public configuration
    answer=$(curl -s -o "$work/body" -w '%{http_code}' "$api/api/v1/speedtest/config")
    jq -e . "$work/body" >/dev/null || fail "the speed test's configuration is not JSON: $(cat "$work/body")"
fi
[ "$answer" = 200 ] || fail "the server answers HTTP $answer: $(cat "$work/body")"
[ "$(stat -c '%U %a' /var/lib/ravo-server/ravo-server.db 2>&1)" = "ravo-server 600" ] ||
    fail "the database is $(stat -c '%U %a' /var/lib/ravo-server/ravo-server.db 2>&1)"
kill "$server"
wait "$server" 2>/dev/null || true
server=""

# A reinstall keeps the operator's configuration, and a unit they disabled stays disabled.
echo "public-url = https://ravo.example.org" >>/etc/ravo-server/ravo-server.conf
edited=$(sha256sum /etc/ravo-server/ravo-server.conf)
systemctl -q disable ravo-server.service
apt install --reinstall "${debs[1]}"
[ "$(sha256sum /etc/ravo-server/ravo-server.conf)" = "$edited" ] ||
    fail "the reinstall replaced the edited configuration"
[ ! -e "$wants" ] || fail "the reinstall enabled a unit the operator disabled"
systemctl -q enable ravo-server.service

# Removed: the programs go, the configuration and the data stay. Purged: they go too.
apt remove ravo ravo-server
[ ! -e /usr/bin/ravo-server ] && [ ! -e /usr/bin/ravo ] || fail "the programs outlive the removal"
[ ! -e /lib/systemd/system/ravo-server.service ] || fail "the unit outlives the removal"
[ "$(sha256sum /etc/ravo-server/ravo-server.conf 2>&1)" = "$edited" ] ||
    fail "the removal took the configuration"
[ -f /var/lib/ravo-server/ravo-server.db ] || fail "the removal took the database"
[ "$(dpkg-query -W -f='${Status}' ravo-server)" = "deinstall ok config-files" ] ||
    fail "ravo-server is $(dpkg-query -W -f='${Status}' ravo-server) after the removal"
apt purge ravo-server
for gone in /etc/ravo-server /var/lib/ravo-server "$wants"; do
    [ ! -e "$gone" ] && [ ! -L "$gone" ] || fail "$gone outlives the purge"
done
! dpkg-query -W ravo ravo-server >/dev/null 2>&1 || fail "dpkg still knows the packages"
getent passwd ravo-server >/dev/null || fail "the purge removed the system user"
echo "packages build, pass lintian, install, run, keep an edited configuration and purge"
