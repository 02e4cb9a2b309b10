#!/usr/bin/env python3
"""usage: scripts/virtual-desktop /usr/bin/python3 bench/meeting_window.py PROGRAM [MEETINGS [SEGMENTS]]

Opens the meeting tab of PROGRAM over an archive of so many meetings (500) of half an hour, the newest of them with so many
segments (5000), and prints how long the list, a search, the transcript and the ways through it take.
"""

import datetime
import sys
import tempfile
import time
from pathlib import Path

from home_window import memory, timed
from make_history import WORDS

PROJECT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(PROJECT / "tests/desktop"))

from harness import desktop, screen  # noqa: E402
from harness.fenlo import Fenlo  # noqa: E402
from harness.waiting import wait_for  # noqa: E402


def make_archive(folder, meetings, segments):
    folder.mkdir(parents=True)
    for number in range(meetings):
        count = segments if number == meetings - 1 else 240
        start = datetime.datetime(2025, 1, 6, 9) + datetime.timedelta(hours=12 * number)
        lines = [f"# Meeting {number}\n\n**Date:** {start:%b %d, %Y}  \n**Duration:** {count // 8}:00  \n\n## Transcript\n\n"]
        for row in range(count):
            words = " ".join(WORDS[(row + word) % len(WORDS)] for word in range(8 + row % 30))
            lines.append(f"**[{row * 15 // 2 // 60}:{row * 15 // 2 % 60:02}] Speaker {row % 3 + 1}:** {words} {row}\n\n")
        (folder / f"meeting_{start:%Y-%m-%d_%H-%M-%S}.md").write_text("".join(lines))


def _go(transcript, keys):
    """Presses the keys, and waits until the rows are others and stay."""
    seen = [[row.name for row in transcript.all("list item")]] * 2
    first = seen[0]
    desktop.press(*keys)

    def rests():
        seen.append([row.name for row in transcript.all("list item")])
        return seen[-1] == seen[-2] != first

    wait_for(rests, f"the rows after {keys[0]}")


def walk(pid, home, meetings, segments):
    timed("Meeting: the newest", pid, lambda: (home.find("page tab", "Meeting").press(), home.find("list item")))
    timed("View All", pid, lambda: (home.press_button("View All"), home.find("list", "Meetings").find("list item")))
    history = home.find("list", "Meetings")
    desktop.shortcut("f")
    timed("search as one types", pid, lambda: (desktop.type_text("Meeting 77"), home.find("list item", "Meeting 77, …")))
    timed("back to all", pid, lambda: home.press_button("Clear the search"))
    newest = history.find("list item", f"Meeting {meetings - 1}, …")
    title = f"Full Transcript ({segments} segments)"
    timed("open the long one", pid, lambda: (newest.press(), home.find("push button", title)))
    timed("its transcript", pid, lambda: (home.press_button(title), home.find("list", "Transcript").find("list item")))
    transcript = home.find("list", "Transcript")
    transcript.focus()
    for keys in (["End"], ["Prior"] * 30, ["Home"], ["Down"] * 30):
        what = f"{len(keys)} times {keys[0]}" if len(keys) > 1 else keys[0]
        timed(what, pid, lambda keys=keys: _go(transcript, keys))
    print(f"  memory with the transcript: {memory(pid)}")
    desktop.press("Escape")
    home.find("list", "Meetings")


def main(program, meetings, segments):
    with tempfile.TemporaryDirectory() as folder:
        make_archive(Path(folder) / "home/.fenlo/meetings", meetings, segments)
        fenlo = Fenlo(program, Path(folder), None)
        time.sleep(2)
        print(f"{meetings} meetings, one with {segments} segments; memory before: {memory(fenlo.process.pid)}")
        fenlo.start_second()
        walk(fenlo.process.pid, screen.window(fenlo.process.pid), meetings, segments)
        fenlo.close()


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__.strip())
    given = [int(number) for number in sys.argv[2:]]
    main(sys.argv[1], *(given + [500, 5000][len(given):]))
