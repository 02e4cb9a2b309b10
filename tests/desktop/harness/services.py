"""The stand-ins for the cloud services, the account and the updates, on the loopback interface."""

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
    """One program that stands for them all; the parts are told apart by name."""

    def __init__(self, program, folder, spoken):
        port_file, deployment_file = folder / "services.port", folder / "services.json"
        command = [program, "--port", 0, "--port-file", port_file, "--deployment", deployment_file, "--text", spoken]
        self._log = open(folder / "services.log", "w")
        self.process = processes.start(command, stdout=self._log, stderr=self._log)
        port = wait_for(lambda: port_file.exists() and port_file.read_text().strip(), "the services' port")
        self.address = f"http://127.0.0.1:{port}"
        names = ("speech", "gemini", "groq", "keys", "backend", "google", "apple", "updates")
        self._all = [Service(self.address, name) for name in names]
        self.speech, self.gemini, self.groq, self.keys, self.backend, self.google, self.apple, self.updates = self._all
        wait_for(lambda: self.speech.requests() is not None, "the services")
        wait_for(deployment_file.exists, "the deployment")
        self.deployment = json.loads(deployment_file.read_text())  # with which a program uses the account, too

    def forget(self):
        """Leaves out what has come so far."""
        for service in self._all:
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

    def misbehave(self, mode, endpoint="", **more):
        """From now on "hang", "close", "garbage" and the like, or the status of an error; with `times` that often only. Of
        an account one endpoint alone may be meant, by its name within the service."""
        self._control(endpoint, mode=mode, delay=0, **more)

    def behave(self):
        """Everything goes well again; what was changed stays."""
        self._control(mode="ok", delay=0)

    def change(self, endpoint, **values):
        """The endpoint of an account answers with these values, and without those that are None."""
        self._control(endpoint, reply=values)

    def reset(self):
        """Everything goes well, and nothing is changed."""
        self._control(mode="ok", delay=0, reply=None)

    def revoke(self):
        """The tokens that it has given out are worth nothing any more."""
        self._control(forget=True)

    def requests(self, endpoint=""):
        """What came so far, oldest first; none when nobody answers."""
        try:
            with urllib.request.urlopen(self._address + "/control/requests", timeout=5) as reply:
                all_requests = json.load(reply)
        except OSError:
            return None
        mine = [one for one in all_requests if f"{one['service']}/".startswith(f"{self._name}/")][self._earlier :]
        return [one for one in mine if not endpoint or one["service"] == f"{self._name}/{endpoint}"]

    def wait_for_request(self, endpoint, count=1):
        """Waits until so many requests have come to the endpoint, and returns the last of them."""
        return wait_for(lambda: (self.requests(endpoint) or [])[count - 1 :], f"{count} requests to {endpoint}")[-1]

    def _control(self, endpoint="", **command):
        service = f"{self._name}/{endpoint}" if endpoint else self._name
        body = json.dumps({"service": service, **command}).encode()
        request = urllib.request.Request(self._address + "/control", body, {"Content-Type": "application/json"})
        urllib.request.urlopen(request, timeout=5).close()
