"""The login manager of the virtual desktop, as far as programs ask it to wait with the machine's sleep.

As a program of its own it owns the login manager's name on the session's bus, which is to serve as system bus, and takes an
order from each line on standard input.
"""

import os
import select
import subprocess
import sys
import threading
import time
from pathlib import Path

_NAME = "org.freedesktop.login1"
_PATH = "/org/freedesktop/login1"
_LONGEST_DELAY = 5.0  # seconds, after which real ones sleep all the same
_INTERFACE = """<node><interface name="org.freedesktop.login1.Manager">
  <method name="Inhibit"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="s" direction="in"/><arg type="h" direction="out"/></method>
  <signal name="PrepareForSleep"><arg type="b"/></signal>
</interface></node>"""


class LoginManager:
    def __init__(self):
        from . import processes  # not in the program of its own, which has no package

        self._process = processes.start(
            [sys.executable, "-B", Path(__file__)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        self._end = processes.end
        self._expect("owned")

    @staticmethod
    def environment():
        """With which a program finds it."""
        return {"DBUS_SYSTEM_BUS_ADDRESS": os.environ["DBUS_SESSION_BUS_ADDRESS"]}

    def sleep(self):
        """The lid closes. Returns after how many seconds the machine could sleep, when nobody held it up any more."""
        begin = time.monotonic()
        self._order("sleep")
        self._expect("asleep")
        return time.monotonic() - begin

    def wake(self):
        """The lid opens. Returns when somebody wants to be waited for again."""
        self._order("wake")
        self._expect("inhibited")

    def close(self):
        self._end(self._process)
        self._process.stdin.close()
        self._process.stdout.close()

    def _order(self, word):
        self._process.stdin.write(word + "\n")
        self._process.stdin.flush()

    def _expect(self, word):
        if (line := self._process.stdout.readline().strip()) != word:
            raise AssertionError(f"the login manager is not {word!r} but {line!r}")


def serve():
    """The program of its own."""
    from gi.repository import Gio, GLib

    loop = GLib.MainLoop()
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
    held = []  # the ends to read of the pipes whose other ends the inhibitors hold
    arrived = threading.Event()

    def inhibit(_bus, _sender, _path, _interface, _method, _arguments, call):
        mine, theirs = os.pipe()
        descriptors = Gio.UnixFDList.new()
        descriptors.append(theirs)
        os.close(theirs)
        held.append(mine)
        call.return_value_with_unix_fd_list(GLib.Variant("(h)", (0,)), descriptors)
        arrived.set()

    def announce(begins):
        bus.emit_signal(None, _PATH, interface.name, "PrepareForSleep", GLib.Variant("(b)", (begins,)))

    def sleep():
        if not arrived.wait(_LONGEST_DELAY):
            return "without anybody to wait for"
        arrived.clear()
        announce(True)
        while held:  # a pipe can be read once nobody holds its other end
            if not select.select(held[:1], [], [], _LONGEST_DELAY)[0]:
                return "held up"
            os.close(held.pop(0))
        return "asleep"

    def wake():
        announce(False)
        return "inhibited" if arrived.wait(_LONGEST_DELAY) else "forgotten"

    def listen():
        for line in sys.stdin:
            print({"sleep": sleep, "wake": wake}[line.strip()](), flush=True)
        GLib.idle_add(loop.quit)

    bus.register_object(_PATH, interface, inhibit, None, None)
    answers = (lambda *_: print("owned", flush=True), lambda *_: print("taken", flush=True))
    Gio.bus_own_name_on_connection(bus, _NAME, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, *answers)
    threading.Thread(target=listen, daemon=True).start()
    loop.run()


if __name__ == "__main__":
    serve()
