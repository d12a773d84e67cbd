#!/usr/bin/env bash
# `ravo settings list` names every setting the app reads: each settings key the sources
# declare is listed, or is in the short list below of what Ravo keeps for itself (state, not
# a choice). A key added to the sources and to neither fails here.
set -euo pipefail
bin=$1
sources=$2
source "$(dirname "$0")/lib.sh"
use_temporary_home
kept_for_itself=" cloudAccount cloudDeviceID cloudSitesMigratedFor monitoredSites
    monitoredSitesUnreadable monitoredSitesPending telegramChatID telegramAlertsEnabled settingsSyncDeviceID
    settingsChangedAt settingsSyncedAt overviewWindowGeometry toldKeepRunningWithoutWindow
    loginItemConfigured lastVerifiedUpdateManifest claudeUsageCache providerBackoff
    speedTestHistory speedTestHistoryUnreadable "
kept_for_itself=" $(tr -s ' \n' '  ' <<<"$kept_for_itself") "

"$bin/ravo" settings list >"$work/list" || fail "settings list"
listed=" $(grep -o '^[A-Za-z]\+' "$work/list" | tr '\n' ' ') "
declared=$(grep -rhoE 'k[A-Za-z]*Key = "[A-Za-z]+"' \
    "$sources"/{app,base,cloud,common,connectivity,metrics,sessions,sync,ui,updates,usage} |
    sed 's/.*"\(.*\)"/\1/' | sort -u)
[ "$(wc -w <<<"$declared")" -gt 20 ] || fail "the sources' keys were not found: $declared"
for key in $declared; do
    case "$listed$kept_for_itself" in
    *" $key "*) ;;
    *) fail "$key is read by the app but \`ravo settings list\` does not show it" ;;
    esac
done
for key in $listed; do
    "$bin/ravo" settings get "$key" >/dev/null || fail "settings get $key"
done
echo "every settings key the sources declare is listed or kept by Ravo for itself"
