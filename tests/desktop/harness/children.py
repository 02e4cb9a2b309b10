"""What the programs that Fenlo starts are told."""

import os
import shutil
from pathlib import Path

_OPENERS = ("xdg-open", "xdg-email")


class Children:
    """Stands before the programs that open things, in a program that is started with `environment`, and writes down how
    each was started before it goes on as ever."""

    def __init__(self, folder):
        self._folder = folder / "children"
        self._folder.mkdir()
        for name in _OPENERS:
            program = self._folder / name
            program.write_text(
                f"#!/bin/sh\nfile=$(mktemp -p '{self._folder}')\ncat /proc/$$/cmdline /proc/$$/environ > \"$file\"\n"
                f'mv "$file" "$file.started"\nexec {shutil.which(name)} "$@"\n'
            )
            program.chmod(0o700)
        self.environment = {"PATH": f"{self._folder}:{os.environ['PATH']}"}

    def started(self):
        """The command line and the environment of each, as one text."""
        return [file.read_text(errors="replace") for file in self._folder.glob("*.started")]


def command_lines():
    """Those of all processes at this moment."""
    lines = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            lines.append((process / "cmdline").read_text(errors="replace"))
        except OSError:
            continue  # it has ended
    return lines
