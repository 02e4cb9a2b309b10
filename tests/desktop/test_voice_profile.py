"""A voice profile made, tried, made again and removed on screen."""

import unittest

from harness import desktop, screen
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY
from harness.sound import Clip
from harness.waiting import wait_for

OWNER, OTHER = "en-us", "en-us+f3"  # a low and a high voice
BETWEEN_VOICES = 0.5  # seconds; in a shorter pause a window may hold both voices
CREATED = "[Fenlo] Voice profile created: "


class VoiceProfile(DesktopCase):
    settings = {"language": "en"}

    def test_from_the_first_reading_to_the_removal(self):
        fenlo = self.start_fenlo(fresh=True)
        profile = fenlo.home / ".fenlo/voice_profile.json"
        fenlo.start_second()
        home = screen.window(fenlo.process.pid)
        home.find("page tab", "Settings").press()
        home.find("list item", "Voice").press()
        begin = home.find("push button", "Set Up Voice Profile")
        begin.focus()
        desktop.press("Return")

        reading = screen.window(fenlo.process.pid, "Voice Profile")
        passage = reading.find("label", "The morning light filters…").name
        self._read(Clip("The morning light", self.folder, OWNER))
        reading.find("label", "need a bit more — hold hotkey and keep reading")
        self.assertFalse(profile.exists())
        self._read(Clip(passage[:330], self.folder, OWNER))
        fenlo.wait_for(CREATED + "male")
        wait_for(lambda: not screen.is_open(fenlo.process.pid, "Voice Profile"), "the reading to close")
        self.assertEqual(self.recogniser.requests(), [], "the passage was taken for a dictation")
        self.assertEqual(list(fenlo.temporary.iterdir()), [])
        self.assertTrue(fenlo.settings()["voice_isolation"])
        wait_for(lambda: home.find("check box", "Voice isolation").has("checked"), "voice isolation to show as on")
        home.find("label", "A low voice of about…")

        # The hotkey dictates again, and the other voice is cut from the take.
        sentence = Clip("The quick brown fox jumps over the lazy dog near the riverbank", self.folder, OWNER)
        other = Clip("We need to move the meeting to another day of the week", self.folder, OTHER)
        editor = self.open_editor()
        mark = fenlo.dictate(sentence.followed_by(other, BETWEEN_VOICES))
        fenlo.wait_for_paste(mark)
        editor.wait_for_text(ANSWER)
        self.assertIn("(voice-isolated)", fenlo.lines("[Fenlo] Transcribing chunk", mark)[-1])
        isolation = home.find("check box", "Voice isolation")
        isolation.press()
        wait_for(lambda: not fenlo.settings()["voice_isolation"], "voice isolation to be off")
        mark = fenlo.dictate(sentence)
        fenlo.wait_for_paste(mark)
        self.assertNotIn("(voice-isolated)", fenlo.lines("[Fenlo] Transcribing chunk", mark)[-1])
        isolation.press()
        wait_for(lambda: fenlo.settings()["voice_isolation"], "voice isolation to be on")

        home = screen.window(fenlo.process.pid)
        for clip, verdict in ((sentence, "your voice."), (other, "somebody else's voice.")):
            home.press_button("Try It")
            home.find("label", "Speak now…")
            clip.speak()
            wait_for(lambda: any(node.name.endswith(f"taken for {verdict}") for node in home.all("label")), verdict)

        kept = profile.read_text()
        home.press_button("Re-record")
        screen.window(fenlo.process.pid, "Voice Profile").press_button("Cancel")
        wait_for(lambda: not screen.is_open(fenlo.process.pid, "Voice Profile"), "the reading to close")
        self.assertEqual(profile.read_text(), kept)
        home.press_button("Re-record")
        screen.window(fenlo.process.pid, "Voice Profile")
        self._read(Clip(passage[:160], self.folder, OTHER))
        home.find("label", "A high voice of about…")

        home.press_button("Remove voice profile")
        screen.window_of(home).press_button("Remove Profile")
        home.find("push button", "Set Up Voice Profile")
        self.assertFalse(profile.exists())
        self.assertFalse(fenlo.settings()["voice_isolation"])

    def _read(self, clip):
        """As people do: they speak once the program listens."""
        mark = self.fenlo.mark()
        with desktop.held(HOTKEY):
            self.fenlo.wait_for("[Fenlo] Recording at", mark)
            clip.speak()


if __name__ == "__main__":
    unittest.main()
