# Shared by the integration scripts: a failure message, and a fresh HOME that is removed
# on exit, with the XDG folders and the session bus out of the way.
fail() { echo "FAIL: $*" >&2; exit 1; }

use_temporary_home() {
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    export HOME=$work
    unset XDG_DATA_HOME XDG_CONFIG_HOME DBUS_SESSION_BUS_ADDRESS
    # A runtime folder of its own: a `ravo status` here must not ask another test's Ravo.
    export XDG_RUNTIME_DIR=$work/runtime
    mkdir -m 700 "$XDG_RUNTIME_DIR"
}

# An X server of its own on a display it picks itself (tests run side by side): sets DISPLAY.
start_x_server() {
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
    x_server=$!
    for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
    [ -s "$work/display" ] || fail "Xvfb did not start"
    export DISPLAY=":$(head -n 1 "$work/display")"
    for _ in $(seq 50); do xwininfo -root >/dev/null 2>&1 && return 0; sleep 0.1; done
    fail "Xvfb did not answer on $DISPLAY"
}

# The number of Ravo tray items embedded in the tray.
tray_items() { xwininfo -root -tree 2>/dev/null | grep -A100 '"panel"' | grep -c '"Ravo": ("ravo"' || true; }

# Every metric item on, as a user who ticked them all has: a machine without a GPU or
# sensors otherwise leaves those out. $1 is the ravo binary.
show_all_metrics() {
    "$1" settings set enabledSystemMetrics cpu,gpu,memory,disk,network,temperature >/dev/null
}

wait_until() { # seconds command...
    local tries=$(($1 * 10))
    shift
    for _ in $(seq "$tries"); do "$@" && return 0; sleep 0.1; done
    return 1
}

# A runtime folder and an X server of its own, as a logged-in desktop has.
use_desktop_session() {
    export XDG_RUNTIME_DIR=$work/runtime
    mkdir -p -m 700 "$XDG_RUNTIME_DIR"
    start_x_server
}

# Whether a name is owned on the session bus, asked without starting anyone for it.
bus_has_name() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:"$1" 2>/dev/null | grep -q 'boolean true'
}

# The real agents, installed by scripts/install-test-agents.sh, in the home's binary folder.
link_real_agents() {
    local agents=${RAVO_TEST_AGENTS:-}
    [ -x "$agents/node_modules/.bin/claude" ] && [ -x "$agents/node_modules/.bin/codex" ] ||
        fail "the real agents are not installed; run ./scripts/test.sh (or scripts/install-test-agents.sh)"
    mkdir -p "$HOME/.local/bin"
    ln -s "$agents/node_modules/.bin/claude" "$HOME/.local/bin/claude"
    ln -s "$agents/node_modules/.bin/codex" "$HOME/.local/bin/codex"
}

# A system tray (trayer) on the X server, up before anyone looks for it: sets $tray.
start_tray() {
    trayer --edge top --align right --widthtype request --height 28 >/dev/null 2>&1 &
    tray=$!
    has_panel() { xwininfo -root -tree 2>/dev/null | grep -q '"panel": ("panel" "trayer")'; }
    # Slow on a loaded machine: two cores building while the tests run.
    wait_until 30 has_panel || fail "trayer did not start"
    sleep 0.3 # the panel maps right after it claims the tray selection
}

# An unlocked Secret Service (GNOME Keyring) on the session bus: sets $keyring.
start_keyring() {
    eval "$(printf 'test-password' | gnome-keyring-daemon --unlock --components=secrets 2>/dev/null)"
    keyring=${GNOME_KEYRING_PID:-}
}

# A fresh HOME as use_temporary_home makes, on the session bus dbus-run-session started.
use_temporary_home_on_session_bus() {
    local bus=${DBUS_SESSION_BUS_ADDRESS:?run this inside dbus-run-session}
    use_temporary_home
    export DBUS_SESSION_BUS_ADDRESS=$bus
}

# An unlocked Secret Service and a notification server (dunst) on the session bus, as a
# desktop has them: sets $keyring and $notifier.
start_keyring_and_notifications() {
    start_keyring
    dunst >"$work/dunst.log" 2>&1 &
    notifier=$!
    # Asked without activation, which would start a second dunst without the display.
    wait_until 10 bus_has_name org.freedesktop.Notifications || fail "dunst did not start: $(cat "$work/dunst.log")"
}
