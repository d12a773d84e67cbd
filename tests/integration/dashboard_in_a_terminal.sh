#!/usr/bin/env bash
# `ravo` over SSH as a user meets it: a real terminal (tmux) at 80x24, then grown to 200x60.
# The dashboard fits, moves with the keys and the mouse, uses a big terminal's room for
# labelled cores, wide graphs and the processes (a real one burning CPU among them), draws
# colour only where allowed, keeps its log off the screen, and gives the shell its screen
# back on q.
set -Eeuo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
command -v tmux >/dev/null || fail "tmux is not installed (scripts/install-deps.sh --tests)"
socket=ravo-test-$$-0
term() { tmux -L "$socket" "$@"; }
# A process keeping a core busy, under a name of its own.
cp "$(command -v sh)" "$work/burn-cpu"
"$work/burn-cpu" -c 'while :; do :; done' &
burner=$!
trap 'kill $burner 2>/dev/null || true; term kill-server 2>/dev/null || true; rm -rf "$work"' EXIT
trap 'echo "FAIL: line $LINENO: $BASH_COMMAND" >&2' ERR

screen() { term capture-pane -p -t dash; }
shows() { screen | grep -qF -- "$1"; }
runs=0
size=(-x 80 -y 24)
start() { # [environment...]
    # A server of its own each time: a killed one may still hold its socket for a moment.
    term kill-server 2>/dev/null || true
    runs=$((runs + 1))
    socket=ravo-test-$$-$runs
    term -f /dev/null new-session -d -s dash "${size[@]}" \
        "env -u DISPLAY -u WAYLAND_DISPLAY HOME=$HOME $* $bin/ravo; echo exited \$?; sleep 30"
    wait_until 20 shows "q quit" || fail "no dashboard: $(screen)"
}

# At 200x60 each core has its number, a bar and its load; the graphs span the column and
# say how far back they go; the burner is among the busiest processes; and most rows
# hold more than the rules between and beside the graphs.
big_screen_is_used() {
    local last=$(($(nproc) - 1))
    labelled() { screen | grep -E "cores +0 [█░]{10} +[0-9]+%" | grep -qE " $1 [█░]{10} +[0-9]+%"; }
    wait_until 10 labelled "$last" || fail "no labelled bar for cores 0 to $last: $(screen)"
    screen | grep -qE "Processor .* last [0-9]+ min" || fail "no span on the graph: $(screen)"
    screen | grep -qE "^ +100% ┤" || fail "no scale on the graph: $(screen)"
    busy() { screen | grep -qE "  burn-cpu +$burner +[0-9]+% "; }
    wait_until 10 busy || fail "the burner $burner is not among the processes: $(screen)"
    local rows
    rows=$(screen | sed 's/[│┤]/ /g' | grep -c '[^ ]')
    [ "$rows" -gt 30 ] || fail "only $rows of 60 rows hold text: $(screen)"
}

start
# Everything a glance needs at 80x24, on its own row, nothing past the edge.
[ "$(screen | head -n 1 | cut -c1-6)" = " Ravo " ] || fail "header: $(screen | head -n 1)"
for text in Processor Memory Network "AI limits" "Agent sessions" "? help"; do
    shows "$text" || fail "no '$text' at 80x24: $(screen)"
done
[ "$(screen | wc -l)" -le 24 ] || fail "more than 24 rows"
[ "$(screen | LC_ALL=C.UTF-8 wc -L)" -le 80 ] || fail "a row is wider than 80"
screen | tail -n 1 | grep -q "q quit" || fail "the keys are not on the last row"

# Arrows as the terminal's keypad sends them, first thing: Down selects the next metric.
selected() { term capture-pane -p -e -t dash | grep $'\e\\[7m' | grep -q "$1"; }
wait_until 5 selected Processor || fail "Processor is not selected at first: $(screen)"
term send-keys -t dash Down
wait_until 5 selected Memory || fail "Down did not select Memory: $(screen)"

# Keys: help opens and any key closes it; Tab moves the focus to the next section.
term send-keys -t dash '?'
wait_until 5 shows "open the selected session" || fail "no help: $(screen)"
term send-keys -t dash x
wait_until 5 bash -c "! tmux -L $socket capture-pane -p -t dash | grep -q 'open the selected session'" ||
    fail "help stayed"
term send-keys -t dash Tab
wait_until 5 shows "▸ AI limits" || fail "Tab did not move on: $(screen)"

# The mouse: a click on the Processor row (an X10 report: button, column, row, each + 32).
row=$(screen | grep -n "Processor" | head -n 1 | cut -d: -f1)
click=$(printf '\\x1b[M\\x%x\\x%x\\x%x\\x1b[M\\x%x\\x%x\\x%x' 32 40 $((32 + row)) 35 40 $((32 + row)))
term send-keys -t dash -l "$(printf "$click")"
wait_until 5 shows "▸ Machine" || fail "a click did not select the machine: $(screen)"

# Bigger: two columns, the cores, and the longer history.
term resize-window -t dash -x 200 -y 60
wait_until 5 bash -c "tmux -L $socket capture-pane -p -t dash | grep 'Machine' | grep -q 'AI limits'" ||
    fail "no two columns at 200x60: $(screen)"
big_screen_is_used
[ "$(screen | wc -l)" -le 60 ] || fail "more than 60 rows"

# Colour by default, none with NO_COLOR; bold and reverse stay.
term capture-pane -p -e -t dash | grep -q $'\e\\[3[1-6]m' || fail "no colour in a colour terminal"
term send-keys -t dash q
wait_until 10 shows "exited 0" || fail "q did not quit: $(screen)"
# The screen is the shell's again, and no log line was left on it.
screen | grep -q "Processor" && fail "the dashboard stayed on the screen"
screen | grep -q "io.halvorsund" && fail "a log line was left behind"
grep -q "io.halvorsund.Ravo" "$HOME/.local/state/ravo/ravo.log" || fail "nothing was logged to the file"

# A terminal that starts big, as xterm: the same room used from the first frame.
size=(-x 200 -y 60)
start TERM=xterm-256color
big_screen_is_used
term send-keys -t dash q
wait_until 10 shows "exited 0" || fail "xterm-256color at 200x60: q did not quit: $(screen)"

size=(-x 80 -y 24)
start NO_COLOR=1
term capture-pane -p -e -t dash | grep -q $'\e\\[3[1-6]m' && fail "colour despite NO_COLOR"
term capture-pane -p -e -t dash | grep -q $'\e\\[7m' || fail "no reverse header without colour"
term send-keys -t dash C-c
wait_until 10 shows "exited 0" || fail "Ctrl-C did not quit cleanly: $(screen)"
echo "dashboard in a terminal: ok"
