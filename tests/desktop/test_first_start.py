"""The first start: a bare home, walked through with keys as a person does, up to the first dictation in an editor."""

import signal
import unittest

from harness import desktop, screen
from harness.case import DesktopCase
from harness.fenlo import OFFLINE_MODEL
from harness.sound import Clip
from harness.waiting import wait_for

TITLE = "Welcome to Fenlo"
WORDS = "The quick brown fox jumps over the lazy dog near the riverbank"


class FirstStart(DesktopCase):
    environment = {"GROQ_API_KEY": None}

    def test_from_a_bare_home_to_the_first_dictation(self):
        fenlo = self.start_fenlo(fresh=True, onboarded=False)
        marker = fenlo.home / ".fenlo/.onboarded"
        self.go_on("Continue", "Hold a key. Speak. Release.")
        self.tile("Developer")
        self.press("Continue", "What do you do?")
        self.tile("Rust", "check box")
        self.press("Continue", "Tell Fenlo a little more")
        wait_for(lambda: fenlo.settings()["profession_specialties"] == ["rust"], "the choice in the settings")

        fenlo.process.send_signal(signal.SIGKILL)
        fenlo.process.wait()
        fenlo = self.start_fenlo(fresh=True, onboarded=False)
        self.go_on("Continue", "Hold a key. Speak. Release.")
        self.assertTrue(self.window().find("radio button", "Developer").has("checked"), "the choice was forgotten")
        self.press("Continue", "What do you do?")
        self.press("Continue", "Tell Fenlo a little more")
        self.go_on("Got it", "Two modes. One app.")

        # Another window is in front when the program is started once more.
        editor = self.open_editor()
        self.assertEqual(fenlo.start_second(), 0)
        handle = desktop.windows_named(TITLE)[0]
        wait_for(lambda: desktop.active_window() == handle, "the window of the first start to come to the front")
        self.assertFalse(screen.is_open(fenlo.process.pid), "the home window came before its time")

        self.window().find("label", "Ready", patience=20)
        self.go_on("Continue", "What Fenlo needs")
        self.press("Continue", "Your mic setup")
        self.window().find("check box", "Offline mode").press()
        fenlo.wait_for(f"[Fenlo] LocalTranscriber: Ready ({OFFLINE_MODEL})", patience=60)
        wait_for(lambda: fenlo.settings()["offline_mode"], "offline mode in the settings")
        self.press("Continue", "Who writes down what you say?")

        self.window().find("heading", "Hold and Speak")
        fenlo.dictate(self.sentence())
        self.window().find("label", WORDS + "…", patience=30)
        self.assertEqual(editor.text(), "", "the practice was pasted")
        self.go_on("Continue", "Hold and Speak")
        self.press("Skip for now", "Create Your Voice Profile")
        self.go_on("Continue", "What your voice can do")
        self.assertFalse(marker.exists())
        self.go_on("Start Voice Typing", "You're ready.")

        fenlo.wait_for("[Fenlo] Hold [Left Control] to dictate")
        self.assertTrue(marker.exists())
        self.assertFalse(screen.is_open(fenlo.process.pid, TITLE))
        welcome = screen.window(fenlo.process.pid, "Fenlo is ready")
        welcome.find("push button", "Got It")
        desktop.press("Return")
        wait_for(lambda: not screen.is_open(fenlo.process.pid, "Fenlo is ready"), "the welcome to go")

        editor.activate()
        mark = fenlo.dictate(self.sentence())
        fenlo.wait_for_paste(mark)
        editor.wait_for_text(WORDS)
        self.assertEqual(self.recogniser.requests(), [], "something was uploaded")
        fenlo.open_home().find("page tab", "Dashboard")

        again = self.start_fenlo(fresh=True)
        again.wait_for("[Fenlo] Startup: needsLogin=false needsOnboarding=false")
        self.assertFalse(screen.is_open(again.process.pid, TITLE))

    def test_closed_window_leaves_a_program_that_dictates(self):
        fenlo = self.start_fenlo(fresh=True, onboarded=False, settings={"language": "en"})
        self.window()
        desktop.shortcut("w")
        fenlo.wait_for("[Fenlo] Ready.")
        self.assertFalse((fenlo.home / ".fenlo/.onboarded").exists())
        self.assertTrue(fenlo.is_running())

    def sentence(self):
        return Clip(WORDS, self.folder, "en-us")

    def window(self):
        return screen.window(self.fenlo.process.pid, TITLE)

    def tile(self, label, role="radio button"):
        """Chooses it with the keyboard."""
        tile = self.window().find(role, label)
        tile.focus()
        desktop.press("space")
        wait_for(lambda: tile.has("checked"), f"{label!r} to be chosen")

    def go_on(self, caption, heading):
        """Leaves the page of this heading by the button that has the keyboard."""
        window = self.window()
        window.find("heading", heading)
        wait_for(lambda: window.find("push button", caption).has("focused"), f"the keyboard at {caption!r}")
        desktop.press("Return")
        window.wait_gone("heading", heading)

    def press(self, caption, heading):
        """The same by another button."""
        window = self.window()
        window.find("heading", heading)
        button = window.find("push button", caption)
        button.focus()
        desktop.press("Return")
        window.wait_gone("heading", heading)


if __name__ == "__main__":
    unittest.main()
