# Shared by the integration scripts: a failure message, and a fresh HOME that is removed
# on exit, with the XDG folders and the session bus out of the way.
fail() { echo "FAIL: $*" >&2; exit 1; }

use_temporary_home() {
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    export HOME=$work
    unset XDG_DATA_HOME XDG_CONFIG_HOME DBUS_SESSION_BUS_ADDRESS
}
