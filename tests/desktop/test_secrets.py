"""Secrets of all kinds, marked, and the places where none may be found. What may hold them is in docs/decisions/0032."""

import os
import re
import resource
import signal
import subprocess
import unittest
from pathlib import Path

from harness import children, processes
from harness.account import GOOGLE, AccountCase

# What the stand-ins give out begins so: tokens, codes, keys, passwords in answers.
GIVEN = "standin-"
KEYS = {f"{service}_API_KEY": f"marked-{service.lower()}" for service in ("GEMINI", "DEEPGRAM", "XAI")}
NOBODY = "65534"


class Secrets(AccountCase):
    environment = {**AccountCase.environment, **KEYS}
    settings = {"smart_rewrite": True}
    spoken = "We plan the spring sale together, and it begins in March."

    def test_none_leaves_the_memory_and_the_secure_store(self):
        self.another_machine()
        self.children = children.Children(self.folder)
        self.google.change("token", id_token="standin-id-token", expires_in=200)
        self.google.change("user", password="standin-password")
        self.backend.change("config", deepgram_api_key="standin-deepgram-key", smtp_password="standin-password")
        resource.setrlimit(resource.RLIMIT_CORE, (resource.getrlimit(resource.RLIMIT_CORE)[1],) * 2)
        os.chdir(self.folder)  # where a crash would leave its image
        fenlo = self.start(signed_in=False, environment=self.children.environment)

        for mode in ("401", "shape", "html"):
            self.google.misbehave(mode, "token", times=1)
            self.browser.press(self.begin(GOOGLE), "Allow")
            self.login().find("alert", "Failed to exchange code for tokens")
            self.browser.close_tabs()
        self.sign_in(GOOGLE)
        fenlo.wait_for("[Fenlo] Ready.")
        self.search()

        # Takes, with everything going wrong once and then well.
        fenlo.wait_for("[Fenlo] Backend: config fetched")
        self.open_editor()
        for mode in ("401", "500", "html"):
            for service in (self.gemini, self.groq, self.backend):
                service.misbehave(mode, times=2)
            self.say_and_paste(f"These words come in spite of {mode}")
        for service in (self.gemini, self.groq, self.backend):
            service.behave()
        mark = fenlo.mark()
        self.recogniser.misbehave("401")
        fenlo.dictate(self.clip)
        fenlo.wait_for("[Fenlo] ERROR: ", mark)
        self.recogniser.behave()
        self.search()

        self.mail_meeting()
        self.search()

        # The tokens are renewed, and then nobody knows them any more.
        fenlo = self.start(environment=self.children.environment)
        fenlo.wait_for("[Fenlo] Google: token refreshed")
        self.google.revoke()
        self.backend.revoke()
        fenlo = self.start(environment=self.children.environment)
        fenlo.wait_for("[Fenlo] Backend: registered")
        self.search()
        self.check_memory()

    def mail_meeting(self):
        home = self.hold_meeting()
        mark = self.fenlo.mark()
        self.backend.misbehave("500", "mail", times=1)
        home.press_button("Email Now")
        self.fenlo.wait_for("[Fenlo] Enhanced notes email failed to ", mark)
        home.press_button("Email Now")
        self.fenlo.wait_for("[Fenlo] Enhanced notes email sent to ", mark)

    def search(self):
        """Looks for every mark in files, what was logged, command lines, and environments of what was started."""
        exchanges = [request["body"] for request in self.google.requests("token")]
        verifiers = [body["code_verifier"] for body in exchanges if "code_verifier" in body]
        marks = [GIVEN, *KEYS.values(), *verifiers]
        places = {"the home": self.fenlo.home, "temporary files": self.fenlo.temporary}
        if runtime := os.environ.get("XDG_RUNTIME_DIR"):
            places["the session's folder"] = runtime
        for name, place in places.items():
            patterns = [part for mark in marks for part in ("-e", mark)]
            found = subprocess.run(["grep", "-rlaF", "-D", "skip", *patterns, place], capture_output=True, text=True)
            self.assertEqual(found.stdout, "", f"a secret in {name}")
        started = self.children.started()
        self.assertTrue(started, "nothing was started")
        texts = {"the log": [self.fenlo.errors()], "a command line": children.command_lines(), "what was started": started}
        for name, pieces in texts.items():
            for mark in marks:
                holding = [piece for piece in pieces if mark in piece]
                self.assertFalse(holding, f"{mark} in {name}")

    def check_memory(self):
        """The memory holds secrets. Nobody else reads it, and a crash leaves no image of it."""
        fenlo = self.fenlo
        image = Path(f"/proc/{fenlo.process.pid}/mem")
        self.assertTrue(self.holds(image, b"standin-groq-key"), "the search of the memory finds nothing at all")
        if os.geteuid() == 0:
            reader = ["sh", "-c", f"exec 3< {image}"]
            self.assertTrue(processes.succeeds(reader))
            other = ["setpriv", f"--reuid={NOBODY}", "--clear-groups", *reader]
            self.assertFalse(processes.succeeds(other), "another user reads the memory")
        fenlo.process.send_signal(signal.SIGSEGV)
        self.assertEqual(fenlo.process.wait(15), -signal.SIGSEGV)
        self.assertEqual([file.name for file in self.folder.glob("core*")], [])

    @staticmethod
    def holds(image, mark):
        ranges = re.findall(r"^([0-9a-f]+)-([0-9a-f]+) rw", image.with_name("maps").read_text(), re.MULTILINE)
        with open(image, "rb", buffering=0) as memory:
            for first, last in ((int(first, 16), int(last, 16)) for first, last in ranges):
                memory.seek(first)
                try:
                    if mark in memory.read(last - first):
                        return True
                except OSError:
                    continue  # a piece of a device
        return False


if __name__ == "__main__":
    unittest.main()
