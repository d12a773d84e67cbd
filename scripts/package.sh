#!/usr/bin/env bash
# Builds the Debian packages ravo_<version>_<arch>.deb and ravo-server_<version>_<arch>.deb
# from the default build (configured once, as build.sh does), into build/packages or the
# folder given. Install them with: sudo apt-get install ./ravo_*.deb ./ravo-server_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-build/packages}")
[ -f build/build.ninja ] || cmake --preset default >/dev/null
# The build tree is shared: one build (and one packaging) at a time.
flock /tmp/ravo-build.lock cmake --build build \
    --target ravo ravo-hook ravo-netquality ravo-release ravo-server
mkdir -p "$out"
rm -f "$out"/ravo_*.deb "$out"/ravo-server_*.deb
flock /tmp/ravo-build.lock cpack --config build/CPackConfig.cmake -B "$out" >"$out/cpack.log" 2>&1 ||
    { cat "$out/cpack.log" >&2; exit 1; }
ls "$out"/ravo_*.deb "$out"/ravo-server_*.deb
