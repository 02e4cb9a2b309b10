"""Measures how fast and how heavy the program is on the virtual desktop. To be run by hand, on a machine at rest:

    scripts/virtual-desktop [--wayland] /usr/bin/python3 bench/desktop_latency.py PROGRAM SERVICES [paste]

With "paste" it measures only the time from the release to the paste, in twenty takes. On Wayland, where no key of the harness's
reaches the program, takes begin and end by `fenlo-trigger`.
"""

import contextlib
import os
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "desktop"))

from harness import desktop, processes, sway  # noqa: E402
from harness.fenlo import HOTKEY, PASTED, Fenlo  # noqa: E402
from harness.services import Services  # noqa: E402
from harness.sound import Clip  # noqa: E402
from harness.targets import Editor  # noqa: E402

TAKES = 10
PASTES = 20
IS_WAYLAND = "WAYLAND_DISPLAY" in os.environ
IDLE_SECONDS = 30
SETTLED_SLEEPS = 0.25 + 0.2 + 0.05  # the recorder's tail, the clipboard's settling, the held key


class TimedLines:
    """Follows a file or a command's output and notes when each line came."""

    def __init__(self, command):
        self._process = processes.start(command, stdout=subprocess.PIPE, text=True)
        self._lines = []
        threading.Thread(target=self._follow, daemon=True).start()

    def _follow(self):
        for line in self._process.stdout:
            self._lines.append((time.monotonic(), line.rstrip()))

    def first(self, pattern, since, patience=15.0):
        """The time and the match of the first line that came after `since` and matches."""
        deadline = time.monotonic() + patience
        while time.monotonic() < deadline:
            for moment, line in list(self._lines):
                if moment >= since and (match := re.search(pattern, line)):
                    return moment, match
            time.sleep(0.005)
        raise TimeoutError(f"no line matches {pattern!r}")


FIVE_SECONDS = "The quick brown fox jumps over the lazy dog near the riverbank, and then it rests in the shade of a tree"


def cpu_seconds(pid):
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def cpu_percent(pid, seconds):
    before = cpu_seconds(pid)
    time.sleep(seconds)
    return 100 * (cpu_seconds(pid) - before) / seconds


def memory(pid):
    """Resident and proportional set size in MB."""
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
    return tuple(int(re.search(rf"^{name}:\s+(\d+)", rollup, re.M).group(1)) / 1024 for name in ("Rss", "Pss"))


@contextlib.contextmanager
def held(fenlo):
    """A take goes on meanwhile."""
    if not IS_WAYLAND:
        with desktop.held(HOTKEY):
            yield
        return
    trigger = Path(sys.argv[1]).resolve().with_name("fenlo-trigger")
    processes.output([trigger, "press"], env=fenlo.environment)
    yield
    processes.output([trigger, "release"], env=fenlo.environment)


def open_editor(folder):
    return sway.GtkEditor(folder) if IS_WAYLAND else Editor(folder)


def milliseconds(values):
    return f"{1000 * statistics.median(values):7.0f} ms   (worst {1000 * max(values):.0f})"


def measure_start(program, folder, services):
    times = []
    for _ in range(5):
        started = time.monotonic()
        fenlo = Fenlo(program, folder, services)
        times.append(time.monotonic() - started)
        fenlo.close()
    return times


def measure_take(fenlo, log, sound_events, clip):
    """One take: seconds to the open microphone, to the first sample, and from the release to the paste."""
    pressed = time.monotonic()
    with held(fenlo):
        clip.speak()
    opened, _ = sound_events.first("'new' on source-output", pressed)
    rate = float(log.first(r"Recording at ([\d.]+)Hz", pressed)[1].group(1))
    stopped, samples = log.first(r"Stop: (\d+) samples", pressed)
    # The line, not our own clock: starting the program that releases the key takes milliseconds itself.
    released, _ = log.first(r"\[Fenlo\] Hotkey released", pressed)
    answer = float(log.first(r"responded in ([\d.]+)s", released)[1].group(1))
    pasted, _ = log.first(re.escape(PASTED), released)
    first_sample = stopped - float(samples.group(1)) / rate - pressed
    return opened - pressed, first_sample, pasted - released - SETTLED_SLEEPS - answer


def probe(program, stand_in, folder):
    services = Services(stand_in, folder, "The quick brown fox.")
    rows = [("start to ready", milliseconds(measure_start(program, folder, services)))]

    fenlo = Fenlo(program, folder, services)
    open_editor(folder)
    clip = Clip(FIVE_SECONDS, folder)
    log = TimedLines(["tail", "-n", "0", "-F", "-s", "0.002", str(fenlo.log_file)])
    sound_events = TimedLines(["pactl", "subscribe"])
    time.sleep(0.5)
    opened, first_sample, overhead = zip(*(_rested(measure_take, fenlo, log, sound_events, clip) for _ in range(TAKES)))
    rows.append(("key down to open microphone", milliseconds(opened)))
    rows.append(("key down to first sample, at most", milliseconds(first_sample)))
    rows.append(("release to paste, own share", milliseconds(overhead)))

    with held(fenlo):
        time.sleep(1)
        rows.append(("processor while recording", f"{cpu_percent(fenlo.process.pid, 5):7.2f} % of a core"))
    time.sleep(2)
    rows.append(("processor while idle", f"{cpu_percent(fenlo.process.pid, IDLE_SECONDS):7.2f} % of a core"))
    resident, proportional = memory(fenlo.process.pid)
    rows.append(("memory", f"{resident:7.1f} MB resident, {proportional:.1f} MB proportional"))
    return rows


def probe_pastes(program, stand_in, folder):
    services = Services(stand_in, folder, "The quick brown fox.")
    fenlo = Fenlo(program, folder, services)
    open_editor(folder)
    clip = Clip("Hello there", folder)
    log = TimedLines(["tail", "-n", "0", "-F", "-s", "0.002", str(fenlo.log_file)])
    time.sleep(0.5)
    totals = sorted(_rested(measure_paste, fenlo, log, clip) for _ in range(PASTES))
    fenlo.close()
    cuts = statistics.quantiles(totals, n=20, method="inclusive")
    desk = "Wayland" if IS_WAYLAND else "X11"
    return [(f"release to paste, {desk}", f"p50 {1000 * cuts[9]:.0f} ms, p95 {1000 * cuts[18]:.0f} ms")]


def measure_paste(fenlo, log, clip):
    """Seconds from the release to the posted keys, the recogniser's answer and all waits included."""
    pressed = time.monotonic()
    with held(fenlo):
        clip.speak()
    released, _ = log.first(r"\[Fenlo\] Hotkey released", pressed)
    pasted, _ = log.first(re.escape(PASTED), released)
    return pasted - released


def _rested(measure, *arguments):
    """Between takes the clipboard is put back, which is no part of the next take."""
    result = measure(*arguments)
    time.sleep(1.3)
    return result


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        rows = probe_pastes if sys.argv[3:] == ["paste"] else probe
        for name, value in rows(sys.argv[1], sys.argv[2], Path(scratch)):
            print(f"{name:36}{value}")
