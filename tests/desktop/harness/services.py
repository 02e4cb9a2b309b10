"""The stand-ins for the cloud services, on the loopback interface."""

import json
import urllib.request

from . import processes
from .waiting import wait_for

# What language models are asked when they are to write notes, to change them, and to sum up for a mail.
NOTES_PROMPT = "meeting notes assistant. Given a meeting transcript"
REFINE_PROMPT = "wants to refine them"
SUMMARY_PROMPT = "produce a structured summary"

# As a language model writes notes.
NOTES = """TITLE: Plans for the spring sale

SUMMARY:
The team met about the spring sale.
It starts in March.

KEY DECISIONS:
- Offer ten per cent

ACTION ITEMS:
- Ann asks the printers
- Bob writes the letter

DISCUSSION POINTS:
- Price: too high for some

FOLLOW-UPS:
- None

OPEN QUESTIONS:
- Who pays for the post?"""


class Services:
    """One program that stands for the recognisers and the language models; the parts are told apart by name."""

    def __init__(self, program, folder, spoken):
        port_file = folder / "services.port"
        self._log = open(folder / "services.log", "w")
        self.process = processes.start(
            [program, "--port", 0, "--port-file", port_file, "--text", spoken], stdout=self._log, stderr=self._log
        )
        port = wait_for(lambda: port_file.exists() and port_file.read_text().strip(), "the services' port")
        self.address = f"http://127.0.0.1:{port}"
        names = ("speech", "gemini", "groq", "keys")
        self.speech, self.gemini, self.groq, self.keys = (Service(self.address, name) for name in names)
        wait_for(lambda: self.speech.requests() is not None, "the services")

    def forget(self):
        """Leaves out what has come so far."""
        for service in (self.speech, self.gemini, self.groq, self.keys):
            service.forget()

    def close(self):
        processes.end(self.process)
        self._log.close()


class Service:
    """Answers each request with a settled text, or misbehaves as told."""

    def __init__(self, address, name):
        self._address = address
        self._name = name
        self._earlier = 0  # requests that are left out

    def forget(self):
        self._earlier += len(self.requests() or [])

    def answer(self, text, delay=0, prompts=None):
        """Answers with this text from now on, after `delay` seconds. `prompts` has other texts for requests whose prompts
        hold its keys, such as NOTES_PROMPT."""
        self._control(mode="ok", text=text, delay=delay, answers=list((prompts or {}).items()))

    def misbehave(self, mode):
        """From now on "hang", "close", "garbage" and the like, or the status of an error."""
        self._control(mode=mode, delay=0)

    def requests(self):
        """What came so far, oldest first; none when nobody answers."""
        try:
            with urllib.request.urlopen(self._address + "/control/requests", timeout=5) as reply:
                requests = [request for request in json.load(reply) if request["service"] == self._name]
                return requests[self._earlier :]
        except OSError:
            return None

    def _control(self, **command):
        body = json.dumps({"service": self._name, **command}).encode()
        request = urllib.request.Request(self._address + "/control", body, {"Content-Type": "application/json"})
        urllib.request.urlopen(request, timeout=5).close()
