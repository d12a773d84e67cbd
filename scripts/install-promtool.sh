#!/usr/bin/env bash
# promtool, Prometheus's own checker of its text format, for the server's metrics test: taken
# out of Debian's prometheus package rather than installed, so no Prometheus starts with it.
set -euo pipefail
cache=${RAVO_TEST_TOOLS:-$HOME/.cache/ravo-test-tools}
[ -x "$cache/promtool" ] && exit 0
mkdir -p "$cache"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
echo "Taking promtool out of Debian's prometheus package into $cache"
apt-get download prometheus >/dev/null 2>&1 || { apt-get update -qq && apt-get download prometheus; }
dpkg-deb -x prometheus_*.deb unpacked
install -m 755 unpacked/usr/bin/promtool "$cache/promtool"
"$cache/promtool" --version >/dev/null
