#!/usr/bin/python3
"""The desktop settings portal, as GNOME's and KDE's publish the light or dark preference:
answers Read for org.freedesktop.appearance color-scheme with argv[1] (0 none, 1 dark,
2 light, wrapped twice as some portal versions do), and announces a new value given with
  dbus-send --session --dest=org.freedesktop.portal.Desktop /org/freedesktop/portal/desktop \
      io.ravo.test.Portal.SetColorScheme uint32:1
"""
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SETTINGS = "org.freedesktop.portal.Settings"

DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()


class Portal(dbus.service.Object):
    def __init__(self, scheme):
        super().__init__(bus, "/org/freedesktop/portal/desktop")
        self.scheme = scheme

    @dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
    def Read(self, group, key):
        if (group, key) != ("org.freedesktop.appearance", "color-scheme"):
            raise dbus.exceptions.DBusException(
                "no such setting", name="org.freedesktop.portal.Error.NotFound")
        return dbus.UInt32(self.scheme, variant_level=1)

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, group, key, value):
        pass

    @dbus.service.method("io.ravo.test.Portal", in_signature="u")
    def SetColorScheme(self, scheme):
        self.scheme = int(scheme)
        self.SettingChanged("org.freedesktop.appearance", "color-scheme",
                            dbus.UInt32(self.scheme, variant_level=1))


portal = Portal(int(sys.argv[1]))
name = dbus.service.BusName("org.freedesktop.portal.Desktop", bus)  # kept: holds the name
GLib.MainLoop().run()
