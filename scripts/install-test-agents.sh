#!/usr/bin/env bash
# Installs the real Claude Code and Codex command-line tools, pinned, once, into a cache
# outside the source tree. The tests run them offline.
set -euo pipefail
cache=${RAVO_TEST_AGENTS:-$HOME/.cache/ravo-test-agents}
claude_version=2.1.330
codex_version=0.169.0
stamp="$cache/.installed-$claude_version-$codex_version"
[ -f "$stamp" ] && exit 0
mkdir -p "$cache"
cd "$cache"
[ -f package.json ] || echo '{"name":"ravo-test-agents","private":true}' >package.json
echo "Installing Claude Code $claude_version and Codex $codex_version into $cache"
npm install --no-audit --no-fund --loglevel=error \
    "@anthropic-ai/claude-code@$claude_version" "@openai/codex@$codex_version"
HOME=$(mktemp -d) node_modules/.bin/claude --version >/dev/null
HOME=$(mktemp -d) node_modules/.bin/codex --version >/dev/null
touch "$stamp"
