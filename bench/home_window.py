#!/usr/bin/env python3
"""usage: scripts/virtual-desktop /usr/bin/python3 bench/home_window.py PROGRAM [ENTRIES]

Opens the home window of PROGRAM with a long history (20000) six times, and prints how long each opening, the list, a search,
End and Home take, and the program's memory before, with and after: all of it (PSS), and its own data without libraries,
which weigh less when other programs use them too.
"""

import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(PROJECT / "tests/desktop"))

from harness import desktop, screen  # noqa: E402
from harness.fenlo import Fenlo  # noqa: E402
from harness.waiting import wait_for  # noqa: E402

OPENINGS = 6


def memory(pid):
    lines = Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()
    values = {line.split()[0]: int(line.split()[1]) / 1024 for line in lines[1:]}
    return f"{values['Pss:']:.1f} MB, {values['Pss_Anon:']:.1f} MB of it data"


def processor(pid):
    """Seconds that the program has computed so far."""
    fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def timed(what, pid, act):
    start, busy = time.monotonic(), processor(pid)
    result = act()
    print(f"  {what:<34}{1000 * (time.monotonic() - start):6.0f} ms, computed {1000 * (processor(pid) - busy):5.0f} ms")
    return result


def walk(fenlo, entries):
    """One opening, with the keys of a person in it."""
    pid = fenlo.process.pid
    timed("second start to window", pid, lambda: (fenlo.start_second(), wait_for(lambda: desktop.windows_of(pid), "it")))
    home = screen.window(pid)
    timed("History: first rows", pid, lambda: _turn(home, "History", "label", f"{entries} entries"))
    history = home.find("list", "History")
    history.focus()
    timed("End", pid, lambda: (desktop.press("End"), _wait_focus(history)))
    timed("30 times Page Up", pid, lambda: (desktop.press(*["Prior"] * 30), _wait_focus(history)))
    timed("Home", pid, lambda: (desktop.press("Home"), _wait_focus(history)))
    desktop.shortcut("f")
    found = f"{len(range(69, entries, 115))} of {entries} entries"
    timed("search as one types 'brulee'", pid, lambda: (desktop.type_text("brulee"), home.find("label", found)))
    timed("Dashboard", pid, lambda: _turn(home, "Dashboard", "chart", "Words a day"))
    print(f"  memory with the window: {memory(pid)}")
    desktop.shortcut("w")
    wait_for(lambda: not screen.is_open(pid), "the window to close")
    time.sleep(4)  # until the memory is given back
    print(f"  memory after: {memory(pid)}")


def _turn(home, tab, role, name):
    home.find("page tab", tab).press()
    home.find(role, name)


def _wait_focus(history):
    wait_for(lambda: any(node.has("focused") for node in history.all("list item")), "the keyboard at an entry")


def main(program, entries):
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "home/.fenlo/stats.json"
        subprocess.run([sys.executable, PROJECT / "bench/make_history.py", file, str(entries)], check=True)
        print(f"{entries} entries, {file.stat().st_size / 1e6:.1f} MB")
        fenlo = Fenlo(program, Path(folder), None)
        time.sleep(2)
        print(f"memory before: {memory(fenlo.process.pid)}")
        for opening in range(1, OPENINGS + 1):
            print(f"opening {opening}")
            walk(fenlo, entries)
        fenlo.close()


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__.strip())
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) == 3 else 20000)
