"""A take from the key to the text: hold, toggle, one after the other, silent and hammered."""

import threading
import time
import unittest

from harness import desktop
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY, PASTED
from harness.sound import Clip


class Takes(DesktopCase):
    def test_hold_and_release_write_into_the_editor(self):
        self.start_fenlo()
        editor = self.open_editor()
        self.dictate_into(editor)
        [request] = self.recogniser.requests()
        self.assertEqual(request["fields"]["model"], "whisper-large-v3-turbo")
        self.assertTrue(request["warm"], "the connection was not open when the upload began")

    def test_hold_and_release_write_into_the_terminal(self):
        self.start_fenlo()
        # A terminal gets what reads as a command line: lower case, without punctuation.
        self.dictate_into(self.open_terminal(), ANSWER.lower())

    def test_toggle_records_until_the_second_press(self):
        fenlo = self.start_fenlo({"continuous_mode": True})
        editor = self.open_editor()
        mark = fenlo.mark()
        desktop.press(HOTKEY)
        self.clip.speak()
        self.assertFalse(fenlo.lines("[Fenlo] Stop:", mark), "the first release ended the take")
        desktop.press(HOTKEY)
        fenlo.wait_for_paste(mark)
        editor.wait_for_text(ANSWER)

    def test_second_take_follows_at_once(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        self.recogniser.answer("One,")
        fenlo.wait_for_paste(fenlo.dictate(self.clip))
        self.recogniser.answer("Two")
        fenlo.wait_for_paste(fenlo.dictate(self.clip))
        editor.wait_for_text("One,Two")

    def test_hammered_hotkey_pastes_once_for_each_answer(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        long_clip = Clip("one two three four five six seven eight nine ten eleven twelve thirteen fourteen", self.folder)
        speaking = threading.Thread(target=long_clip.speak)
        speaking.start()
        for _ in range(10):
            with desktop.held(HOTKEY):
                time.sleep(0.35)
            time.sleep(0.05)
        speaking.join()
        # All keys of this desktop are one device: a press that falls into the program's own Control is no press.
        fenlo.wait_for("[Fenlo] Hotkey released", count=5)
        answers = self._settled_answers()
        self.assertGreaterEqual(answers, 1)
        editor.wait_for_text(ANSWER * answers)
        self.dictate_into(editor, ANSWER * (answers + 1))

    def test_touched_hotkey_sends_nothing(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        for _ in range(10):
            desktop.press(HOTKEY)
        fenlo.wait_for("[Fenlo] Hotkey released", count=10)
        self.assertEqual(self.recogniser.requests(), [])
        self.dictate_into(editor)

    def test_silence_sends_nothing(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            time.sleep(0.8)
        fenlo.wait_for("[Fenlo] Recording was silent", mark)
        self.assertEqual(self.recogniser.requests(), [])
        self.dictate_into(editor)

    def _settled_answers(self):
        """The number of takes that were answered, once each of them has been pasted."""
        stops = len(self.fenlo.lines("[Fenlo] Uploading"))
        self.fenlo.wait_for("[Fenlo] Result:", count=stops)
        self.fenlo.wait_for(PASTED, count=stops)
        return stops


if __name__ == "__main__":
    unittest.main()
