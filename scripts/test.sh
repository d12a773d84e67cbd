#!/usr/bin/env bash
# Installs what is missing, builds and runs the whole test suite under CTest.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
"$here/install-deps.sh" --tests
"$here/install-test-agents.sh"
"$here/install-promtool.sh"
"$here/build.sh"
"$here/../fuzz/run.sh" --build-only
cd "$here/.."
ctest --preset default "$@"
