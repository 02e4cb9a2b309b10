"""A keyring of the session's own, unlocked."""

import subprocess

from . import processes
from .waiting import wait_for

_IS_THERE = [
    "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
    "--method", "org.freedesktop.DBus.NameHasOwner", "org.freedesktop.secrets",
]  # fmt: skip


class Keyring:
    """The Secret Service, with its files in `folder`."""

    def __init__(self, folder):
        self._process = processes.start(
            ["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"],
            env=processes.environment(XDG_DATA_HOME=str(folder / "keyring")),
            stdin=subprocess.PIPE,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        self._process.stdin.write(b"password\n")
        self._process.stdin.close()
        wait_for(lambda: "true" in processes.output(_IS_THERE), "the keyring")

    def close(self):
        processes.end(self._process)
