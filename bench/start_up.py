"""Measures the start: from the program's exec until the panel has its icon's picture. To be run by hand, on a machine at rest:

    scripts/virtual-desktop /usr/bin/python3 bench/start_up.py PROGRAM…

Several programs, such as the builds of two versions, take turns. "cold" means that the program and all files that it maps are
read from the disk again, but for libraries that others use at the time. The processor's time hardly depends on what else the
machine does, and what is read not at all.
"""

import contextlib
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from gi.repository import Gio, GLib

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "desktop"))

from harness import processes  # noqa: E402
from harness.waiting import wait_for  # noqa: E402

RUNS = 20
FIGURES = (("exec to the icon", "ms"), ("the processor's time", "ms"), ("read from the disk", "MB"))
WATCHER = """
<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""


class Panel:
    """A panel on the session bus that only notes when it has the picture of an icon that was announced."""

    def __init__(self):
        self.shown = None
        self._registered = threading.Event()
        threading.Thread(target=self._serve, daemon=True).start()
        assert self._registered.wait(10), "no session bus"

    def _serve(self):
        context = GLib.MainContext()
        context.push_thread_default()
        self._bus = bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interface = Gio.DBusNodeInfo.new_for_xml(WATCHER).interfaces[0]
        bus.register_object("/StatusNotifierWatcher", interface, self._call, lambda *_: GLib.Variant("b", True), None)
        bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                      GLib.Variant("(su)", ("org.kde.StatusNotifierWatcher", 4)), None, 0, -1, None)  # fmt: skip
        self._registered.set()
        GLib.MainLoop(context).run()

    def _call(self, _bus, sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(None)
        question = GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", "IconPixmap"))
        self._bus.call(sender, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", question, None, 0, -1, None,
                       self._answer)  # fmt: skip

    def _answer(self, bus, result):
        bus.call_finish(result)
        self.shown = time.monotonic()


def cpu_milliseconds(pid):
    """Of the process so far, its threads included."""
    nanoseconds = 0
    for task in Path(f"/proc/{pid}/task").iterdir():
        with contextlib.suppress(FileNotFoundError):  # a thread that has ended since
            nanoseconds += int((task / "schedstat").read_text().split()[0])
    return nanoseconds / 1e6


def mapped_files(pid):
    mapped = {line.split(maxsplit=5)[5] for line in Path(f"/proc/{pid}/maps").read_text().splitlines() if "/" in line}
    return {file for file in mapped if Path(file).is_file()}


def forget(files):
    """Takes the files out of the page cache, as far as they are not in use."""
    for file in files:
        descriptor = os.open(file, os.O_RDONLY)
        os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
        os.close(descriptor)


def measure(program, environment, panel):
    """Milliseconds, milliseconds of the processor, megabytes read, and the files that it has mapped."""
    panel.shown = None
    began = time.monotonic()
    process = processes.start([program], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        wait_for(lambda: panel.shown, "the icon")
        read = re.search(r"^read_bytes: (\d+)", Path(f"/proc/{process.pid}/io").read_text(), re.M)
        return ((panel.shown - began) * 1000, cpu_milliseconds(process.pid), int(read.group(1)) / 1e6), mapped_files(process.pid)
    finally:
        processes.end(process)


def report(name, values, unit):
    ordered = sorted(values)
    p95 = ordered[int(0.95 * (len(ordered) - 1))]
    print(f"  {name:24} p50 {statistics.median(ordered):6.0f} {unit}   p95 {p95:6.0f} {unit}   least {ordered[0]:6.0f} {unit}")


def run(programs, folder):
    home = folder / "home"
    (home / ".fenlo").mkdir(parents=True)
    (home / ".fenlo/.onboarded").touch()
    (home / ".fenlo/config.json").write_text(json.dumps({"play_sounds": False}))
    environment = processes.environment(HOME=str(home), GROQ_API_KEY="gsk_of_the_benchmark")
    panel = Panel()
    files = set().union(*(measure(program, environment, panel)[1] for program in programs))
    for state in ("warm", "cold"):
        taken = {program: [] for program in programs}
        for _ in range(RUNS):
            for program in programs:
                if state == "cold":
                    forget(files)
                taken[program].append(measure(program, environment, panel)[0])
        for program in programs:
            print(f"{state}: {program}")
            for (name, unit), values in zip(FIGURES, zip(*taken[program])):
                report(name, values, unit)
    print(f"load of the machine: {os.getloadavg()[0]:.1f} on {os.cpu_count()} cores")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        run(sys.argv[1:], Path(scratch))
