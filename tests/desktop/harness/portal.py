"""The desktop's portal of settings, as far as programs ask it how windows are to look.

As a program of its own it owns the portal's name on the session bus, and takes a setting from each line on standard input.
"""

import json
import os
import signal
import subprocess
import sys
import threading
from pathlib import Path

NAME = "org.freedesktop.portal.Desktop"
APPEARANCE = "org.freedesktop.appearance"
GNOME = "org.gnome.desktop.interface"
OWN = ["own"]  # the line after which it may be asked
NO_PREFERENCE, DARK, LIGHT = 0, 1, 2

_INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""


class Portal:
    def __init__(self, *settings):
        """With these settings from the start, each a group, a name and a value: an int or a bool."""
        from . import processes  # not in the program of its own, which has no package

        self._process = processes.start(
            [sys.executable, "-B", Path(__file__)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        for setting in settings:
            self._write(*setting)
        self._write(*OWN)
        if self._process.stdout.readline() != "owned\n":
            raise AssertionError("the portal's name is taken")
        self._end = processes.end

    def tell(self, group, name, value):
        """The user changes a setting of the desktop."""
        self._write(group, name, value)

    def freeze(self):
        """It is there and answers nobody."""
        os.kill(self._process.pid, signal.SIGSTOP)

    def thaw(self):
        os.kill(self._process.pid, signal.SIGCONT)

    def close(self):
        self._end(self._process)
        self._process.stdin.close()
        self._process.stdout.close()

    def _write(self, *line):
        self._process.stdin.write(json.dumps(line) + "\n")
        self._process.stdin.flush()


def serve():
    from gi.repository import Gio, GLib

    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    path = "/" + NAME.replace(".", "/").lower()
    interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
    loop = GLib.MainLoop()
    settings = {}

    def read(_bus, _sender, _path, _interface, _method, arguments, call):
        value = settings.get(arguments.unpack())
        if value is None:
            call.return_dbus_error("org.freedesktop.portal.Error.NotFound", "Requested setting not found")
        else:  # wrapped twice, as portals do
            call.return_value(GLib.Variant("(v)", (GLib.Variant("v", value),)))

    def change(group, name, value):
        settings[group, name] = GLib.Variant("b" if isinstance(value, bool) else "u", value)
        told = GLib.Variant("(ssv)", (group, name, settings[group, name]))
        bus.emit_signal(None, path, interface.name, "SettingChanged", told)

    def own():
        answers = (lambda *_: print("owned", flush=True), lambda *_: print("taken", flush=True))
        Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, *answers)

    def listen():
        for line in sys.stdin:
            wish = json.loads(line)
            GLib.idle_add(own if wish == OWN else lambda wish=wish: change(*wish))
        GLib.idle_add(loop.quit)

    bus.register_object(path, interface, read, None, None)
    threading.Thread(target=listen, daemon=True).start()
    loop.run()


if __name__ == "__main__":
    serve()
