"""The stand-in for the cloud recogniser, on the loopback interface."""

import json
import urllib.request

from . import processes
from .waiting import wait_for


class Recogniser:
    """Answers each upload with a settled text, or misbehaves as told."""

    def __init__(self, program, folder, text):
        port_file = folder / "recogniser.port"
        self._log = open(folder / "recogniser.log", "w")
        self.process = processes.start(
            [program, "--port", 0, "--port-file", port_file, "--text", text], stdout=self._log, stderr=self._log
        )
        port = wait_for(lambda: port_file.exists() and port_file.read_text().strip(), "the recogniser's port")
        self.address = f"http://127.0.0.1:{port}"
        wait_for(lambda: self.requests() is not None, "the recogniser")

    def answer(self, text, delay=0):
        """Answers with this text from now on, after `delay` seconds."""
        self._control(mode="ok", text=text, delay=delay)

    def misbehave(self, mode):
        """From now on "500", "hang", "close", "garbage" or "utf8"."""
        self._control(mode=mode, delay=0)

    def requests(self):
        """What was uploaded so far, oldest first."""
        try:
            with urllib.request.urlopen(self.address + "/control/requests", timeout=5) as reply:
                return json.load(reply)
        except OSError:
            return None

    def close(self):
        processes.end(self.process)
        self._log.close()

    def _control(self, **command):
        request = urllib.request.Request(
            self.address + "/control", json.dumps(command).encode(), {"Content-Type": "application/json"}
        )
        urllib.request.urlopen(request, timeout=5).close()
