"""Offline mode: the engine on this machine hears real speech, and the network stays silent."""

import os
import time
import unittest

from harness import desktop, pill, processes
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY, OFFLINE_MODEL
from harness.sound import Clip
from harness.waiting import wait_for

READY = f"[Fenlo] LocalTranscriber: Ready ({OFFLINE_MODEL})"
# Seconds. Voices are told apart by windows of 0.4 s: in a shorter pause some hold both voices, and whether they stay
# depends on the moment at which the take began.
BETWEEN_VOICES = 0.5
PHRASES = {
    "en-us": "The quick brown fox jumps over the lazy dog near the riverbank",
    "en-us+f2": "What did I say today?",
    "en-us+m5": "I know the update is ready",
}


class Offline(DesktopCase):
    settings = {"offline_mode": True}

    def test_speech_becomes_text_without_a_server(self):
        first = self.start_fenlo()
        first.wait_for(READY, patience=60)
        model = first.home / ".fenlo/models" / OFFLINE_MODEL
        before = {name: (model / name).stat().st_mtime for name in ("MelSpectrogram", "AudioEncoder", "TextDecoder")}
        again = self.start_fenlo()
        again.wait_for(READY, patience=60)
        self.assertEqual(before, {name: (model / name).stat().st_mtime for name in before}, "compiled once more")

        editor = self.open_editor()
        expected = ""
        for voice, words in PHRASES.items():
            self._speak_when_recording(Clip(words, self.folder, voice))
            expected += words
            editor.wait_for_text(expected)
            time.sleep(1.2)  # the clipboard goes back to its owner
        self.assertEqual(self.recogniser.requests(), [], "something was uploaded in offline mode")

    def test_the_words_so_far_stand_in_the_pill_if_the_user_wants_them(self):
        self.start_fenlo(fresh=True).wait_for(READY, patience=60)
        clip = Clip(PHRASES["en-us"], self.folder, "en-us")
        editor = self.open_editor()
        self._speak_when_recording(clip, lambda: self.assertLess(pill.width(), 250))
        editor.wait_for_text(PHRASES["en-us"])
        fenlo = self.start_fenlo({"show_words_in_pill": True})
        fenlo.wait_for(READY, patience=60)

        def look():
            had = pill.width()
            self.assertGreater(had, 300)
            wait_for(pill.has_words, "the words in the pill")
            self.assertEqual(pill.width(), had, "the pill moved")

        self._speak_when_recording(clip, look)
        wait_for(lambda: pill.dot() is None, "the pill to go")

    def test_another_voice_is_cut_from_the_take(self):
        fenlo = self.start_fenlo({"voice_isolation": True})
        fenlo.wait_for(READY, patience=60)
        passage = Clip("The morning was cold and the river was quiet, and I read on until I was done.", self.folder, "en-us")
        processes.output([os.environ["FENLO_PROGRAM"], "voice-profile", passage.file], env=fenlo.environment)
        words = PHRASES["en-us"]
        # Of some voices a window passes for the user's now and then, and the small model makes words of it.
        other = Clip("We need to move the meeting", self.folder, "en-us+f5")
        editor = self.open_editor()
        self._speak_when_recording(Clip(words, self.folder, "en-us").followed_by(other, BETWEEN_VOICES))
        editor.wait_for_text(words)
        self.assertIn("(voice-isolated)", fenlo.lines("[Fenlo] Transcribing chunk")[-1])
        self.assertEqual(list(fenlo.temporary.iterdir()), [])

    def test_without_its_model_takes_go_to_the_cloud(self):
        fenlo = self.start_fenlo(deployment={"offline_model": "small"})
        fenlo.wait_for("[Fenlo] ERROR: LocalTranscriber setup failed", patience=60)
        self.dictate_into(self.open_editor(), ANSWER)
        fenlo.wait_for("[Fenlo] Offline mode enabled but model not ready yet")

    def _speak_when_recording(self, clip, look=lambda: None):
        """As people do: the model is to hear a sentence, not the cut of a clip that began before the key. Looks at the
        screen before the release."""
        mark = self.fenlo.mark()
        with desktop.held(HOTKEY):
            wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
            clip.speak(latency=500)
            look()
        self.fenlo.wait_for_paste(mark)


if __name__ == "__main__":
    unittest.main()
