#!/usr/bin/env bash
# Renders the popovers, the settings tabs and the dashboard window in real windows under
# Xvfb, light and dark, at 1x and 2x, into build/screenshots for a person to look at.
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-build/screenshots}
rm -rf "$out"
mkdir -p "$out"
display=:$((90 + RANDOM % 9))
# Big enough that at 2x the screen still holds the overview window at its natural size.
Xvfb "$display" -screen 0 3200x2400x24 >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
sleep 1
for scheme in light dark; do
    for scale in 1 2; do
        DISPLAY=$display QT_QPA_PLATFORM=xcb RAVO_COLOR_SCHEME=$scheme QT_SCALE_FACTOR=$scale \
            RAVO_SCREENSHOTS="$out" build/bin/ravo_ui_tests --gtest_brief=1 \
            >"$out/ui-tests-$scheme-${scale}x.log" 2>&1 ||
            echo "UI tests failed ($scheme, ${scale}x): $out/ui-tests-$scheme-${scale}x.log" >&2
    done
done
ls "$out"
