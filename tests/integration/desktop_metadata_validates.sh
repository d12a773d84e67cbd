#!/usr/bin/env bash
# The desktop entry and the AppStream metainfo pass the validators software centres and
# distributions run, and the metainfo names this release, the entry and the programs.
set -euo pipefail
resources=$1
version=$2
bin=$3
source "$(dirname "$0")/lib.sh"
use_temporary_home
metainfo=$resources/io.halvorsund.Ravo.metainfo.xml
desktop=$resources/io.halvorsund.Ravo.desktop

appstreamcli validate --no-net "$metainfo" >"$work/appstream" 2>&1 ||
    fail "appstreamcli refuses the metainfo: $(cat "$work/appstream")"
# Errors fail the command; warnings and infos only print.
! grep -E '^[EWI]: ' "$work/appstream" || fail "appstreamcli has remarks on the metainfo"

desktop-file-validate "$desktop" >"$work/desktop" 2>&1 ||
    fail "desktop-file-validate refuses the entry: $(cat "$work/desktop")"
! grep -E ': (error|warning): ' "$work/desktop" || fail "desktop-file-validate warns about the entry"

# What the metainfo claims must be what is built and installed.
xml() { xmllint --xpath "$1" "$metainfo"; }
[ "$(xml 'string(/component/launchable[@type="desktop-id"])')" = "$(basename "$desktop")" ] ||
    fail "the launchable is not $(basename "$desktop")"
[ "$(xml 'string(/component/releases/release[1]/@version)')" = "$version" ] ||
    fail "the newest release in the metainfo is not $version"
for program in $(xml '/component/provides/binary/text()'); do
    [ -x "$bin/$program" ] || fail "the metainfo provides $program, which is not built"
done
for program in ravo ravo-hook ravo-netquality ravo-release; do
    xml "/component/provides/binary[text()='$program']" >/dev/null 2>&1 ||
        fail "the metainfo does not provide $program"
done
echo "metainfo and desktop entry validate; the metainfo names release $version"
