"""The account: signing in by a real browser, and what a signed-in user has of it. All of it against stand-ins."""

import json
import re
import time
import unittest
from pathlib import Path

from harness import processes, screen
from harness.account import APPLE, FAILED, GOOGLE, LOGIN, AccountCase
from harness.case import ANSWER
from harness.waiting import wait_for

OWNER = "owner@example.com"  # of two machines, and of nothing that another test does
REMOTE_KEY = "Bearer standin-groq-key"
DOCUMENT = Path(__file__).parents[2] / "docs/service.md"
TIMEOUT = 5  # seconds that a request to the service may take


class SigningIn(AccountCase):
    def test_google_cancelled_denied_allowed_remembered_and_revoked(self):
        self.another_machine()
        fenlo = self.start(signed_in=False)

        # A second attempt beside the first takes its place, is cancelled, and a third one denied: all leave nothing.
        first = self.begin(GOOGLE)
        second = self.begin(GOOGLE)
        self.browser.press(first, "Allow", email="first@example.com")
        self.google.wait_for_request("decide")
        self.login().press_button("Cancel")
        self.wait_port_free()
        self.browser.press(second, "Allow", email="second@example.com")
        self.google.wait_for_request("decide", 2)
        self.browser.press(self.begin(GOOGLE), "Deny")
        self.login().find("alert", "No authorization code received")
        self.wait_port_free()
        self.assertEqual(self.google.requests("token"), [])
        self.browser.close_tabs()

        self.google.change("token", expires_in=200)  # so that the next start renews it
        self.sign_in(GOOGLE)
        fenlo.wait_for("[Fenlo] Login success (Google): Ann Example")
        fenlo.wait_for("[Fenlo] Ready.")
        self.assertFalse(screen.is_open(fenlo.process.pid, LOGIN))
        self.check_login("ann@example.com", "Ann Example")

        fenlo = self.start()
        fenlo.wait_for("[Fenlo] Startup: needsLogin=false needsOnboarding=false")
        fenlo.wait_for("[Fenlo] Google: token refreshed")
        self.backend.wait_for_request("login", 2)
        self.check_login("ann@example.com", "Ann Example")

        # Neither Google nor the service knows the tokens any more. The user goes on working.
        self.google.revoke()
        self.backend.revoke()
        fenlo = self.start()
        self.google.wait_for_request("token", 3)
        fenlo.wait_for("[Fenlo] Backend: registered")
        self.dictate_into(self.open_editor())
        self.assertEqual(self.recogniser.requests()[-1]["authorization"], REMOTE_KEY)
        self.assertEqual(len(fenlo.lines("[Fenlo] Backend: registered")), 1, "one new token for all that was refused")

        self.sign_out()
        self.sign_in(APPLE)
        fenlo.wait_for("[Fenlo] Re-logged in as Ben Example")
        wait_for(lambda: self.backend.requests("login")[-1]["body"]["email"] == "ben@example.com", "the other login")

    def test_apple_waits_fails_is_cancelled_and_hides_the_address(self):
        self.another_machine()
        fenlo = self.start(signed_in=False)

        tab = self.begin(APPLE)
        self.login().find("label", "Waiting for Apple sign-in...")
        self.apple.wait_for_request("status", 2)
        self.browser.press(tab, "Fail")
        self.browser.wait_for_page(FAILED)
        self.login().find("alert", "server_error")
        self.browser.close_tabs()

        tab = self.begin(APPLE)
        self.apple.wait_for_request("status", len(self.apple.requests("status")) + 1)
        self.login().press_button("Cancel")
        self.login().wait_gone("label", "Waiting for Apple sign-in...")
        asked = len(self.apple.requests("status"))
        self.browser.press(tab, "Allow")
        self.apple.wait_for_request("callback", 2)
        self.browser.close_tabs()

        self.sign_in(APPLE, email="", name="Cleo")
        fenlo.wait_for("[Fenlo] Login success (Apple): Cleo (no email)")
        sessions = {request["target"].split("=")[-1] for request in self.apple.requests("status")[asked:]}
        self.assertEqual(len(sessions), 1, "the cancelled attempt was asked for, too")
        fenlo.wait_for("[Fenlo] Ready.")

    def check_login(self, email, name):
        told = self.backend.wait_for_request("login")["body"]
        self.assertEqual((told["email"], told["name"]), (email, name))


class Service(AccountCase):
    settings = {"profession": "developer"}
    spoken = "We plan the spring sale together, and it begins in March."

    def test_keys_statistics_of_two_machines_and_a_mailed_meeting(self):
        self.another_machine()
        self.start(signed_in=False)
        self.sign_in(GOOGLE, email=OWNER)
        self.dictate_with_remote_key()

        self.another_machine()
        fenlo = self.start(signed_in=False)
        self.sign_in(GOOGLE, email=OWNER)
        self.dictate_with_remote_key()
        self.assertEqual(len(fenlo.statistics()["history"]), 1)
        home = fenlo.open_home()
        home.find("page tab", "Dashboard").press()
        wait_for(lambda: {"8 words", "2 sessions"} <= {node.name for node in home.nodes()}, f"both machines in {home}")
        self.assertEqual(fenlo.statistics()["total_words"], 4, "the file has what was dictated here")

        home = self.hold_meeting()
        home.press_button("Email Now")
        mail = self.backend.wait_for_request("mail")["body"]
        self.assertEqual((mail["email"], mail["subject"]), (OWNER, "Meeting Notes: Spring sale"))
        self.assertIn("Offer ten per cent", mail["notes"]["key_decisions"])
        self.assertIn(ANSWER, mail["transcript"])
        fenlo.wait_for(f"[Fenlo] Enhanced notes email sent to {OWNER}")
        self.check_document()

    def test_a_dictation_beside_a_service_that_hangs(self):
        self.another_machine()
        self.start(signed_in=False)
        self.sign_in(GOOGLE)
        well = self.wait_of_takes(2)
        self.backend.misbehave("hang")
        self.google.misbehave("hang")
        fenlo = self.start(environment={"GROQ_API_KEY": "gsk_of_the_desktop_tests"})
        self.assertLess(self.wait_of_takes(3), well + TIMEOUT / 2)
        self.assertEqual(processes.end(fenlo.process), 0, "the end of the program waits for the service")

    def wait_of_takes(self, count):
        """Dictates so often, and returns how long the words took at best, in seconds."""
        editor = self.open_editor()
        waits = []
        for done in range(1, count + 1):
            mark = self.fenlo.dictate(self.clip)
            released = time.monotonic()
            self.fenlo.wait_for_paste(mark)
            waits.append(time.monotonic() - released)
            wait_for(lambda done=done: editor.text().count(ANSWER) == done, "the words")
        editor.close()
        return min(waits)

    def check_document(self):
        """What was sent has the members that the document for the service's owners shows."""
        examples = dict(re.findall(r"```json (\w+)\n(.*?)```", DOCUMENT.read_text(), re.DOTALL))
        for endpoint in ("register", "heartbeat", "login", "profile", "stats", "mail"):
            sent, shown = self.backend.wait_for_request(endpoint)["body"], json.loads(examples[endpoint])
            self.assertLessEqual(set(sent), set(shown), endpoint)
            self.assertLessEqual(set(shown) - set(sent), {"user_notes", "additional_recipients"}, endpoint)
        sent = next(request["body"] for request in self.backend.requests("stats") if request["body"]["entries"])
        shown = json.loads(examples["stats"])
        self.assertEqual(set(sent["entries"][0]), set(shown["entries"][0]))
        self.assertEqual(set(sent["baseline"]), set(shown["baseline"]))

    def dictate_with_remote_key(self):
        self.dictate_into(self.open_editor())
        self.assertEqual(self.recogniser.requests()[-1]["authorization"], REMOTE_KEY)
        wait_for(lambda: self.fenlo.wait_for_entry(ANSWER)["synced"], "the service to have the entry")


if __name__ == "__main__":
    unittest.main()
