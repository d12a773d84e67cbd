#!/usr/bin/python3
"""A Secret Service that is there but never answers, as a keyring daemon stuck on its
start-up or a broken activation leaves the session bus: owns org.freedesktop.secrets and
swallows every call to it without a reply. Writes "ready" to the file in argv[1] once it
owns the name, and "call <member>" for each call it swallows."""
import sys

import dbus
import dbus.lowlevel
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
log = open(sys.argv[1], "a", buffering=1)


def swallow(connection, message):
    if isinstance(message, dbus.lowlevel.MethodCallMessage) and \
            message.get_interface() != "org.freedesktop.DBus":
        log.write("call %s\n" % message.get_member())
        return dbus.lowlevel.HANDLER_RESULT_HANDLED
    return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED


bus.add_message_filter(swallow)
name = dbus.service.BusName("org.freedesktop.secrets", bus, do_not_queue=True)
log.write("ready\n")
GLib.MainLoop().run()
