"""The applications that are dictated into."""

import os
import shutil
import signal
import subprocess

from . import desktop, processes
from .waiting import wait_for


class _Target:
    """A program with one window, brought to the front."""

    def __init__(self, command, **options):
        self.process = processes.start(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
        self.window = wait_for(self._windows, f"a window of {command[0]}")[0]
        self.activate()

    def activate(self):
        desktop.activate(self.window)

    def freeze(self):
        os.kill(self.process.pid, signal.SIGSTOP)

    def thaw(self):
        os.kill(self.process.pid, signal.SIGCONT)

    def close(self):
        processes.end(self.process)

    def _windows(self):
        return desktop.windows_of(self.process.pid)


class Editor(_Target):
    """A text editor with an open file. The desktop knows it by `name`: it can stand for a chat or a mail program."""

    def __init__(self, folder, text="", name="mousepad"):
        self._file = folder / f"{name}.txt"
        self._file.write_text(text)
        super().__init__([name, "--disable-server", self._file], executable=shutil.which("mousepad"))

    def press(self, *keys):
        """Types keys into the editor."""
        self.activate()
        desktop.press(*keys)

    def press_end(self):
        """Puts the cursor behind the last character."""
        self.press(f"{desktop.RIGHT_CONTROL}+End")

    def text(self):
        """What stands in the editor. Saves it, so no modifier may be held."""
        desktop.shortcut("s")
        return self._file.read_text()

    def wait_for_text(self, expected):
        last = None

        def shows():
            nonlocal last
            last = self.text()
            return last == expected

        try:
            wait_for(shows, f"the editor to hold {_short(expected)}")
        except AssertionError as fault:
            raise AssertionError(f"{fault}; it holds {_short(last)}") from None


class Terminal(_Target):
    """A terminal emulator whose program writes down each line that is typed."""

    def __init__(self, folder):
        self._file = folder / "typed.txt"
        super().__init__(["xterm", "-fa", "DejaVu Sans Mono", "-fs", "12", "-e", f"cat > '{self._file}'"])
        wait_for(self._file.exists, "the program in the terminal")

    def wait_for_text(self, expected):
        """Ends the line and compares what was typed."""
        desktop.press("Return")
        wait_for(lambda: self._file.read_text() == expected + "\n", f"the terminal to hold {_short(expected)}")


class Notice(_Target):
    """A window with a message, and nothing to type into."""

    def __init__(self):
        super().__init__(["xmessage", "Nothing can be typed here"])

    def _windows(self):
        return desktop.windows_named("xmessage")


def _short(text):
    return repr(text) if len(text) < 200 else f"{text[:60]!r}… ({len(text)} characters)"
