#!/usr/bin/env bash
# `ravo` without a display on whatever terminal the user has: a dumb one or one ncurses
# does not know gets plain frames one below the other, a known one the full screen, and
# output into a pipe plain lines without key hints, ending once the reader is gone.
set -Eeuo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
command -v tmux >/dev/null || fail "tmux is not installed (scripts/install-deps.sh --tests)"
socket=ravo-any-$$-0
term() { tmux -L "$socket" "$@"; }
trap 'term kill-server 2>/dev/null || true; rm -rf "$work"' EXIT
trap 'echo "FAIL: line $LINENO: $BASH_COMMAND" >&2' ERR

screen() { term capture-pane -p -t dash; }
shows() { screen | grep -qF -- "$1"; }
runs=0
start() { # TERM [columns rows]
    term kill-server 2>/dev/null || true
    runs=$((runs + 1))
    socket=ravo-any-$$-$runs
    term -f /dev/null new-session -d -s dash -x "${2:-100}" -y "${3:-40}" \
        "env -u DISPLAY -u WAYLAND_DISPLAY HOME=$HOME TERM=$1 $bin/ravo; echo exited \$?; sleep 30"
}

for kind in "dumb 200 60" "no-such-terminal 80 24"; do
    start $kind
    kind=${kind%% *}
    wait_until 20 shows "Press q to quit." || fail "TERM=$kind: nothing drawn: $(screen)"
    # A whole frame on the screen: the processes only where the rows allow.
    for text in Processor Memory "AI limits" "Agent sessions"; do
        shows "$text" || fail "TERM=$kind: no '$text': $(screen)"
    done
    if [ "$kind" = dumb ]; then
        wait_until 10 shows "Largest processes" || fail "TERM=dumb at 200x60: no processes: $(screen)"
    else
        ! shows "Largest processes" || fail "TERM=$kind at 80x24: processes push the frame off: $(screen)"
    fi
    # New figures come as new frames, each below the last: count them in the scrollback.
    frames() { term capture-pane -p -S - -t dash | grep -c "^Ravo " || true; }
    more_frames() { [ "$(frames)" -ge 2 ]; }
    wait_until 10 more_frames || fail "TERM=$kind: no second frame: $(screen)"
    # Nothing a dumb terminal would print as it is: no escape sequences in what it got.
    ! term capture-pane -p -e -t dash | grep -q $'\e\\[[0-9;]*[HJm]' ||
        fail "TERM=$kind: escape sequences: $(term capture-pane -p -e -t dash | cat -v | head)"
    ! shows "io.halvorsund" || fail "TERM=$kind: a log line among the frames"
    term send-keys -t dash q
    wait_until 10 shows "exited 0" || fail "TERM=$kind: q did not quit: $(screen)"
done

# A terminal ncurses knows still gets the full screen, at 80x24 too.
start xterm-256color 80 24
wait_until 20 shows "q quit" || fail "xterm-256color: no full-screen dashboard: $(screen)"
[ "$(screen | head -n 1 | cut -c1-6)" = " Ravo " ] || fail "xterm-256color: $(screen | head -n 1)"
term send-keys -t dash q
wait_until 10 shows "exited 0" || fail "xterm-256color: q did not quit: $(screen)"

# Into a pipe: plain lines without key hints; a reader that stops early ends it at once.
env -u DISPLAY -u WAYLAND_DISPLAY "$bin/ravo" </dev/null 2>"$work/errors" >"$work/piped" &
pid=$!
wait_until 10 grep -q Processor "$work/piped" || fail "nothing piped: $(cat "$work/errors")"
kill -INT $pid
wait $pid || fail "piped: exit status $?"
! grep -q "Press q\|q quit" "$work/piped" || fail "key hints in piped output: $(cat "$work/piped")"
started=$(date +%s%N)
set +o pipefail
env -u DISPLAY -u WAYLAND_DISPLAY timeout 20 "$bin/ravo" </dev/null 2>"$work/errors" | head -n 3 >"$work/head"
status=${PIPESTATUS[0]}
set -o pipefail
took=$((($(date +%s%N) - started) / 1000000))
[ "$status" -eq 0 ] || fail "a closed pipe ended ravo with status $status: $(cat "$work/errors")"
[ "$took" -lt 10000 ] || fail "ravo went on for $took ms after its reader left"
grep -q "^Ravo " "$work/head" || fail "head got: $(cat "$work/head")"
echo "dumb and unknown terminals get plain frames, xterm the full screen; a pipe gets no hints and a closed one ends ravo in $took ms"
