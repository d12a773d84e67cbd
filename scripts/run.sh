#!/usr/bin/env bash
# Installs what is missing, builds and starts Ravo. Arguments go to ravo (try `status`).
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
"$here/install-deps.sh"
"$here/build.sh"
exec "$here/../build/bin/ravo" "$@"
