#!/usr/bin/python3
"""A StatusNotifierItem host, as KDE's panel or GNOME's AppIndicator extension is one:
owns org.kde.StatusNotifierWatcher, takes registrations, reads each item's properties
and follows its signals. Writes what it sees, one line each, to the file in argv[1]:
  item <order> <Id> <Title> <pixmaps> <ink: light, dark, or badge when drawn on one>
  tooltip <Id> <tooltip title>
  icon <Id> <ink>, when the item says its icon changed
  menu <Id> <bus name> <menu path> <entry id>:<label>,… ("-" for a separator)
  gone <Id>
"""
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"

DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
log = open(sys.argv[1], "a", buffering=1)


def ink(pixmaps):
    """What the panel would show: a badge covering most of the picture, or else whether
    the drawn pixels are light or dark."""
    if not pixmaps:
        return "none"
    width, height, argb = max(pixmaps, key=lambda p: p[0])
    pixels = [bytes(argb[i:i + 4]) for i in range(0, len(argb), 4)]
    opaque = [p for p in pixels if p[0] > 128]
    if len(opaque) > len(pixels) / 2:
        return "badge"
    if not opaque:
        return "none"
    luminance = sum(0.3 * p[1] + 0.59 * p[2] + 0.11 * p[3] for p in opaque) / len(opaque)
    return "light" if luminance > 128 else "dark"


class Watcher(dbus.service.Object):
    def __init__(self):
        super().__init__(bus, "/StatusNotifierWatcher")
        self.items = []  # "sender/path" in registration order
        self.ids = {}
        bus.add_signal_receiver(self.owner_changed, "NameOwnerChanged",
                                "org.freedesktop.DBus")

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        path = service if service.startswith("/") else "/StatusNotifierItem"
        name = sender if service.startswith("/") else service
        key = name + path
        if key in self.items:
            return
        self.items.append(key)
        self.StatusNotifierItemRegistered(key)
        # Read after answering, as panels do: the item may wait for this answer.
        GLib.idle_add(self.read, name, path, len(self.items))

    def read(self, name, path, order):
        item = bus.get_object(name, path)
        props = dbus.Interface(item, "org.freedesktop.DBus.Properties")
        every = props.GetAll(ITEM)
        item_id = str(every["Id"])
        self.ids[name] = item_id
        log.write("item %d %s %s %d %s\n" % (order, item_id,
                                             str(every["Title"]).replace(" ", "_"),
                                             len(every["IconPixmap"]), ink(every["IconPixmap"])))
        menu_path = str(every["Menu"])
        if menu_path != "/NO_DBUSMENU":
            menu = dbus.Interface(bus.get_object(name, menu_path), "com.canonical.dbusmenu")
            menu.AboutToShow(0)
            _, (_, _, entries) = menu.GetLayout(0, -1, [])
            log.write("menu %s %s %s %s\n" % (item_id, name, menu_path, ",".join(
                "%d:%s" % (entry[0], "-" if entry[1].get("type") == "separator"
                           else str(entry[1]["label"]).replace(" ", "_"))
                for entry in entries
                # Hosts leave out what the item hides, as its "visible" property asks.
                if entry[1].get("visible", True))))
        bus.add_signal_receiver(
            lambda: log.write("tooltip %s %s\n" % (
                item_id, str(props.Get(ITEM, "ToolTip")[2]).replace(" ", "_"))),
            "NewToolTip", ITEM, bus_name=name, path=path)
        bus.add_signal_receiver(
            lambda: log.write("icon %s %s\n" % (item_id, ink(props.Get(ITEM, "IconPixmap")))),
            "NewIcon", ITEM, bus_name=name, path=path)
        return False

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        pass

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemRegistered(self, service):
        pass

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss",
                         out_signature="v")
    def Get(self, interface, prop):
        return self.GetAll(interface)[prop]

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="s",
                         out_signature="a{sv}")
    def GetAll(self, interface):
        return {"RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s"),
                "IsStatusNotifierHostRegistered": True,
                "ProtocolVersion": dbus.Int32(0)}

    # Toolkits read the properties through introspection (Qt asks whether a host is there).
    @dbus.service.method("org.freedesktop.DBus.Introspectable", out_signature="s")
    def Introspect(self):
        return """<node><interface name="%s">
          <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
          <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
          <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
          <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
          <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
          <property name="ProtocolVersion" type="i" access="read"/>
        </interface></node>""" % WATCHER

    def owner_changed(self, name, old, new):
        if new == "" and name in self.ids:
            log.write("gone %s\n" % self.ids.pop(name))
            self.items = [k for k in self.items if not k.startswith(name + "/")]


watcher = Watcher()
name = dbus.service.BusName(WATCHER, bus)  # kept: dropping it gives the name up
GLib.MainLoop().run()
