"""The settings that a desktop publishes on the session bus, in place of the real portal. A word on the
standard input, "dark" or "light", changes the color scheme.

usage: desktop_portal.py dark|light"""
import sys

from gi.repository import Gio, GLib

NAME, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
INTERFACE, SPACE = "org.freedesktop.portal.Settings", "org.freedesktop.appearance"
SCHEMES = {"dark": 1, "light": 2}
XML = f"""<node><interface name="{INTERFACE}">
  <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="out"/></method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""


def main(scheme):
    setting = {"color-scheme": SCHEMES[scheme], "contrast": 0}
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def value(key):
        return GLib.Variant("v", GLib.Variant("u", setting[key]))

    def answer(_bus, _sender, _path, _interface, _method, parameters, invocation):
        space, key = parameters.unpack()
        if space == SPACE and key in setting:
            invocation.return_value(GLib.Variant("(v)", (value(key),)))
        else:
            invocation.return_dbus_error(f"{NAME}.NotFound", key)

    def change(_channel, _condition):
        setting["color-scheme"] = SCHEMES[sys.stdin.readline().strip()]
        bus.emit_signal(None, PATH, INTERFACE, "SettingChanged",
                        GLib.Variant("(ssv)", (SPACE, "color-scheme",
                                               GLib.Variant("u", setting["color-scheme"]))))
        return True

    bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(XML).interfaces[0], answer)
    loop = GLib.MainLoop()
    Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                                   lambda *_: print("ready", flush=True), lambda *_: loop.quit())
    GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.IOCondition.IN, change)
    GLib.io_add_watch(GLib.IOChannel.unix_new(0), GLib.IOCondition.HUP, lambda *_: loop.quit())
    loop.run()


main(sys.argv[1])
