"""A panel with room for the icons of programs, in which their menus can be read."""

import json
import os
import subprocess

from . import processes
from .waiting import wait_for


class Panel:
    """To be opened before the program, which then puts its icon here."""

    def __init__(self):
        self._process = processes.start(
            [os.environ["FENLO_PANEL"]], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        self.menu()  # answers once the panel is there

    def menu(self):
        """The lines of the program's menu, blank for separators; none before there is an icon."""
        return self._ask("")

    def choose(self, line):
        """Chooses this line of the menu, which must be there."""
        self.wait_for_line(line)
        self._ask(line)

    def _ask(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()
        return json.loads(self._process.stdout.readline())

    def wait_for_line(self, line):
        """Waits for a line of the menu that is exactly this."""
        last = None

        def shows():
            nonlocal last
            last = self.menu()
            return line in last

        try:
            wait_for(shows, f"the menu line {line!r}")
        except AssertionError as fault:
            raise AssertionError(f"{fault}; the menu is {last}") from None

    def close(self):
        self._process.stdin.close()
        processes.end(self._process)
        self._process.stdout.close()
