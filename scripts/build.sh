#!/usr/bin/env bash
# Configures (once) and builds the default preset.
set -euo pipefail
cd "$(dirname "$0")/.."
[ -f build/build.ninja ] || cmake --preset default >/dev/null
cmake --build --preset default
