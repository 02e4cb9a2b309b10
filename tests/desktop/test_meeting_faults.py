"""Meetings in which something breaks: no word that was said is lost."""

import unittest

from harness import desktop, disk, screen
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for

SENTENCE = "We will ship the release on Friday if all the tests are green"
NOTES = "TITLE: The day\n\nSUMMARY:\nAll points were spoken of."


class MeetingFaults(DesktopCase):
    spoken = SENTENCE

    def setUp(self):
        super().setUp()
        self.panel = self.open_panel()

    def test_killed_and_quit_while_the_recogniser_is_silent(self):
        fenlo = self.start_fenlo(fresh=True)
        self._begin()
        self._say("The first point of the day")
        with desktop.held(HOTKEY):
            fenlo.wait_for("[Fenlo] Meeting active — normal dictation blocked")
        self.recogniser.misbehave("hang")
        mark = fenlo.mark()
        self.clip.speak()
        fenlo.wait_for("[Fenlo] Meeting chunk triggered (silence", mark)
        wait_for(self._kept_sound, "the chunk's sound in the folder of the meeting")
        fenlo.process.kill()
        fenlo.process.wait()
        self.assertEqual(self._files(), [])

        self.recogniser.answer("The second point of the day")
        self.groq.answer(NOTES)
        fenlo = self.start_fenlo()
        fenlo.wait_for("[Fenlo] An interrupted meeting is taken up")
        self._wait_for_words("The first point of the day", "The second point of the day", "All points were spoken of.")
        home = self._open_tab()
        home.find("alert", "The meeting that was interrupted has its notes now; it is among the recent ones.")
        self.assertEqual(len(home.find("list", "Recent").all("list item")), 1)

        self._begin()
        self.assertFalse(home.all("alert"), "a new meeting begins with nothing to tell")
        self._say("The third point of the day")
        self.recogniser.misbehave("hang")
        mark = fenlo.mark()
        self.clip.speak()
        fenlo.wait_for("[Fenlo] Meeting chunk triggered", mark)
        asked = len(self.groq.requests())
        fenlo.process.terminate()
        self.assertEqual(fenlo.process.wait(2), 0)
        self.assertEqual(len(self._files()), 2, "the words so far have their file at once")
        self.assertEqual(len(self.groq.requests()), asked, "no notes are begun that would be thrown away")
        self.recogniser.answer("The fourth point of the day")
        fenlo = self.start_fenlo()
        self._wait_for_words("The third point of the day", "The fourth point of the day", "All points were spoken of.")

    def test_a_full_disk(self):
        fenlo = self.start_fenlo(fresh=True)
        meetings = fenlo.home / ".fenlo/meetings"
        disk.mount_small(self, meetings, "3m")
        disk.mount_small(self, fenlo.temporary, "3m")
        filler = disk.fill(meetings)
        self._begin()
        self._say("Before the disk is full")
        other = disk.fill(fenlo.temporary)
        self.recogniser.answer("While no disk had room")
        mark = fenlo.mark()
        self.clip.speak()
        fenlo.wait_for("[Fenlo] Meeting chunk triggered (silence", mark)
        home = screen.window(fenlo.process.pid)
        home.find("alert", "The meeting cannot be kept: the disk is full; what is said waits in memory (1 of 30 minutes)")
        other.unlink()
        filler.unlink()
        fenlo.wait_for("[Fenlo] Meeting segment", mark, patience=30)

        filler = disk.fill(meetings)
        self._say("On the full disk")
        self.panel.choose("Stop Meeting Mode")
        fenlo.wait_for("[Fenlo] ERROR: the meeting cannot be saved to")
        screen.window(fenlo.process.pid).find("alert", "The meeting c…")
        filler.unlink()
        self._wait_for_words("Before the disk is full", "While no disk had room", "On the full disk", patience=45)

    def _open_tab(self):
        self.panel.choose("Meeting Mode")
        return screen.window(self.fenlo.process.pid)

    def _begin(self):
        mark = self.fenlo.mark()
        self._open_tab().press_button("Start Meeting")
        self.fenlo.wait_for("[Fenlo] Meeting mode started", mark)

    def _say(self, words):
        """A sentence into the microphone, which the recogniser hears as these words."""
        self.recogniser.answer(words)
        mark = self.fenlo.mark()
        self.clip.speak()
        self.fenlo.wait_for("[Fenlo] Meeting segment", mark)

    def _files(self):
        return sorted((self.fenlo.home / ".fenlo/meetings").glob("*.md"))

    def _kept_sound(self):
        return list((self.fenlo.home / ".fenlo/meetings").glob("*/*.wav"))

    def _wait_for_words(self, *words, patience=15.0):
        """Until the newest meeting's file has them all and nothing of it is left beside."""

        def whole():
            files = self._files()
            text = files[-1].read_text() if files else ""
            return all(some in text for some in words)

        wait_for(whole, "the words in the meeting's file", patience)
        wait_for(lambda: not list((self.fenlo.home / ".fenlo/meetings").glob("running_*")), "the folder to go")


if __name__ == "__main__":
    unittest.main()
