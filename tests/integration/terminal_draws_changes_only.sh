#!/usr/bin/env bash
# The dashboard's screen hands ncurses only the cells that changed since the last frame.
# Drawn in a real terminal (tmux), frame after frame, what shows must be exactly the last
# frame: wide characters moving under narrow ones, halves of wide characters overwritten,
# rows that shrink, and a change of style alone.
set -Eeuo pipefail
bin=$1
source "$(dirname "$0")/lib.sh"
use_temporary_home
command -v tmux >/dev/null || fail "tmux is not installed (scripts/install-deps.sh --tests)"
socket=ravo-frames-$$
term() { tmux -L "$socket" "$@"; }
trap 'term kill-server 2>/dev/null || true; rm -rf "$work"' EXIT
trap 'echo "FAIL: line $LINENO: $BASH_COMMAND" >&2' ERR

frames=$work/frames
cat >"$frames" <<'FRAMES'
Ravo 日本語 wide
abcdefghij
cpu ▁▂▃▄▅▆▇█ 42%
!selected row
plain tail that is long
--
Ravo 日本x語 wide
abcXefghij
cpu ▂▃▄▅▆▇█▁ 7%
selected row
plain tail
--
Ravo a日本語 wide
日本語fghij
cpu ▂▃▄▅▆▇█▁ 7%
!selected row
--
Ravo ab本語 wide
日x語fghij
--
Ravo 
FRAMES
# Then frames no one would write by hand: rows of random pieces, wide, narrow and blank.
LC_ALL=C.UTF-8 awk 'BEGIN {
    srand(7)
    split("a|bc|日|本語|  |x|▁▂|─|é|語z|!", piece, "|")
    for (f = 0; f < 40; f++) {
        print "--"
        for (r = 0; r < 12; r++) {
            line = ""
            n = int(rand() * 18)
            for (i = 0; i < n; i++) line = line piece[1 + int(rand() * 11)]
            print line
        }
    }
}' >>"$frames"

expected() { # frame number: its rows as the terminal shows them
    awk -v want="$1" '$0 == "--" { n++; next } n == want { sub(/^!/, ""); sub(/ +$/, ""); print }' \
        "$frames" | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
}
shown() { term capture-pane -p -t frames | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'; }
shows_frame() { [ "$(shown)" = "$(expected "$1")" ]; }

term -f /dev/null new-session -d -s frames -x 80 -y 24 \
    "env HOME=$HOME TERM=screen $bin/ravo_curses_frames $frames; echo exited \$?; sleep 30"
count=$(($(grep -c '^--$' "$frames") + 1))
for ((frame = 0; frame < count; frame++)); do
    wait_until 5 shows_frame "$frame" ||
        fail "frame $frame drawn wrong; expected:
$(expected "$frame")
shown:
$(shown)"
    # A style alone changes the third frame's fourth row.
    if [ "$frame" -le 2 ]; then
        reversed=$(term capture-pane -p -e -t frames | sed -n 4p | grep -c $'\e\\[7m' || true)
        [ "$reversed" = "$(((frame + 1) % 2))" ] || fail "frame $frame: row 4 reversed is $reversed"
    fi
    term send-keys -t frames x
done
term send-keys -t frames q
wait_until 10 bash -c "tmux -L $socket capture-pane -p -t frames | grep -q 'exited 0'" ||
    fail "q did not quit: $(shown)"
echo "terminal draws changes only: ok"
