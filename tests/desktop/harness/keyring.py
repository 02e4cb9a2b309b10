"""A keyring of the session's own, unlocked."""

import subprocess

from . import processes
from .waiting import wait_for

# A keyring that the bus started on its own, locked, may be there already.
_OWNER = [
    "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
    "--method", "org.freedesktop.DBus.GetConnectionUnixProcessID", "org.freedesktop.secrets",
]  # fmt: skip


class Keyring:
    """The Secret Service, with its files in `folder`."""

    def __init__(self, folder):
        data = folder / "keyring"
        data.mkdir()
        self._process = processes.start(
            ["gnome-keyring-daemon", "--replace", "--foreground", "--unlock", "--components=secrets"],
            env=processes.environment(XDG_DATA_HOME=str(data)),
            stdin=subprocess.PIPE,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        self._process.stdin.write(b"password\n")
        self._process.stdin.close()
        wait_for(self._is_there, "the keyring")

    def close(self):
        processes.end(self._process)

    def _is_there(self):
        owner = subprocess.run(_OWNER, capture_output=True, text=True)
        return owner.stdout.strip() == f"(uint32 {self._process.pid},)"
