"""A take from the key to the text, with the pill: hold, toggle, one after the other, silent and hammered; what is counted."""

import threading
import time
import unittest

from harness import desktop, pill
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY, PASTED
from harness.sound import Clip
from harness.waiting import wait_for


class Takes(DesktopCase):
    def test_from_the_key_to_the_text(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        self.recogniser.answer(ANSWER, delay=0.8)
        self.assertIsNone(pill.dot())
        with desktop.held(HOTKEY):
            wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
            self.assertEqual(desktop.active_window(), editor.window)
            self.clip.speak()
        wait_for(lambda: pill.dot() == pill.PROCESSING, "the processing pill")
        self.assertEqual(desktop.active_window(), editor.window)
        fenlo.wait_for_paste(0)
        wait_for(lambda: pill.dot() is None, "the pill to go")
        editor.wait_for_text(ANSWER)
        [request] = self.recogniser.requests()
        self.assertEqual(request["fields"]["model"], "whisper-large-v3-turbo")
        self.assertTrue(request["warm"], "the connection was not open when the upload began")
        self.assertNotIn("gsk_of_the_desktop_tests", fenlo.errors())
        self.assertEqual((fenlo.home / ".fenlo").stat().st_mode & 0o777, 0o700)
        self.assertEqual(fenlo.log_file.stat().st_mode & 0o777, 0o600)

    def test_hold_and_release_write_into_the_terminal(self):
        self.start_fenlo()
        # A terminal gets what reads as a command line: lower case, without punctuation.
        self.dictate_into(self.open_terminal(), ANSWER.lower())

    def test_toggle_records_until_the_second_press(self):
        fenlo = self.start_fenlo({"continuous_mode": True, "show_overlay": False})
        editor = self.open_editor()
        mark = fenlo.mark()
        desktop.press(HOTKEY)
        self.clip.speak()
        self.assertIsNone(pill.dot(), "the pill shows although it is switched off")
        self.assertFalse(fenlo.lines("[Fenlo] Stop:", mark), "the first release ended the take")
        desktop.press(HOTKEY)
        fenlo.wait_for_paste(mark)
        editor.wait_for_text(ANSWER)

    def test_hammered_hotkey_pastes_once_for_each_answer(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        long_clip = Clip("one two three four five six seven eight nine ten eleven twelve thirteen fourteen", self.folder)
        speaking = threading.Thread(target=long_clip.speak)
        speaking.start()
        # A busy machine hears the short ones late and finds them too short to hold a word; the long one it does not.
        for seconds in 4 * [0.35] + [1.5] + 5 * [0.35]:
            with desktop.held(HOTKEY):
                time.sleep(seconds)
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

    def test_takes_follow_each_other_and_are_counted(self):
        panel = self.open_panel()
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        panel.wait_for_line("Today:  0 words  |  0 sessions  |  0 WPM  |  0 min saved")
        words = "Hello there"
        self.say_and_paste(words)
        self.say_and_paste("And rests")
        editor.wait_for_text(words + "And rests")
        kept = fenlo.wait_for_entry("And rests")

        self.assertEqual((fenlo.home / ".fenlo/stats.json").stat().st_mode & 0o777, 0o600)
        statistics = fenlo.statistics()
        first, second = statistics["history"]
        self.assertEqual((first["full_text"], first["words"], first["synced"]), (words, 2, False))
        self.assertAlmostEqual(first["duration"], self.clip.seconds, delta=1.5)
        self.assertAlmostEqual(first["wpm"], 60 * 2 / first["duration"], delta=1)
        self.assertEqual(second, kept)
        today = statistics["daily"][time.strftime("%Y-%m-%d")]
        self.assertEqual((today["words"], today["sessions"]), (4, 2))
        self.assertEqual((statistics["total_words"], statistics["total_sessions"]), (4, 2))
        speed = int(60 * 4 / today["duration"])
        panel.wait_for_line(f"Today:  4 words  |  2 sessions  |  {speed} WPM  |  0 min saved")
        panel.wait_for_line("Total:  4 words  |  2 sessions  |  0 min saved")

    def _settled_answers(self):
        """The number of takes that were answered, once each of them has been pasted."""
        stops = len(self.fenlo.lines("[Fenlo] Uploading"))
        self.fenlo.wait_for("[Fenlo] Result:", count=stops)
        self.fenlo.wait_for(PASTED, count=stops)
        return stops


if __name__ == "__main__":
    unittest.main()
