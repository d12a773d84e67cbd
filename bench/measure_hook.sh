#!/usr/bin/env bash
# ravo-hook as the agents start it, against /bin/true started the same way in the same run:
# median wall times and their ratio, and the libraries it loads (no Qt).
set -euo pipefail
build=${1:-build}
runs=${2:-1000}
timer="$build/bin/ravo_spawn_timer"
hook="$build/bin/ravo-hook"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work
unset XDG_DATA_HOME DBUS_SESSION_BUS_ADDRESS

if ldd "$hook" 2>/dev/null | grep -qi qt; then echo "ravo-hook loads Qt" >&2; exit 1; fi
echo "ravo-hook: $(ldd "$hook" 2>&1 | head -n 1 | sed 's/^[[:space:]]*//')"

measure() { # name input command...
    local name=$1 input=$2
    shift 2
    "$timer" "$input" 20 -- "$@" >/dev/null # warm the caches
    local ours truth
    ours=$("$timer" "$input" "$runs" -- "$@")
    truth=$("$timer" "$input" "$runs" -- /bin/true)
    awk -v n="$name" -v a="$ours" -v b="$truth" \
        'BEGIN { printf "%-28s %6d us   /bin/true %6d us   ratio %.2f\n", n, a, b, a / b }'
}

printf '%s' '{"model":{"display_name":"Opus"},"rate_limits":{"five_hour":{"used_percentage":23,"resets_at":4102444800},"seven_day":{"used_percentage":41,"resets_at":4102444800}}}' >"$work/statusline.json"
measure "statusline (no chain)" "$work/statusline.json" "$hook" statusline
# A running session, then the event agents send after every tool call.
printf '%s' "{\"session_id\":\"bench-1\",\"cwd\":\"$work/project\",\"hook_event_name\":\"UserPromptSubmit\",\"prompt\":\"Make it fast\"}" | "$hook" claude
printf '%s' "{\"session_id\":\"bench-1\",\"cwd\":\"$work/project\",\"hook_event_name\":\"PostToolUse\",\"tool_name\":\"Bash\",\"tool_input\":{\"command\":\"ls\"},\"tool_response\":{\"stdout\":\"a\"}}" >"$work/post.json"
measure "claude PostToolUse" "$work/post.json" "$hook" claude
