"""A recogniser that fails, hangs or talks nonsense, and the take after it."""

import time
import unittest

from harness import desktop, pill, processes
from harness.case import ANSWER, DesktopCase
from harness.waiting import wait_for

FAULT = "[Fenlo] ERROR: Transcription error:"
MODES = ("500", "reset", "huge")  # a refusal, a broken connection, an answer without measure


class RecogniserFaults(DesktopCase):
    def test_each_fault_is_told_and_the_next_take_works(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        expected = ""
        for mode in MODES:
            with self.subTest(mode=mode):
                self.recogniser.misbehave(mode)
                self._fails()
                self.recogniser.answer(ANSWER)
                expected += ANSWER
                self.dictate_into(editor, expected)
        self.assertLess(processes.peak_memory(fenlo.process.pid), 150, "megabytes")

    def test_address_that_does_not_exist(self):
        self.start_fenlo(deployment={"groq_host": "http://recogniser.invalid"})
        self._fails()
        self._terminates_in_time()

    def test_recogniser_without_an_end_can_be_cancelled_and_left(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        expected = ""
        for mode in ("hang", "trickle"):
            with self.subTest(mode=mode):
                self.recogniser.misbehave(mode)
                mark = fenlo.dictate(self.clip)
                fenlo.wait_for("[Fenlo] Uploading", mark)
                released = time.monotonic()
                narrow = wait_for(pill.width, "the pill of a running job")
                wait_for(lambda: pill.width() >= narrow + 60, "the offer to stop")
                self.assertGreater(time.monotonic() - released, 2.5, "offered too early")
                desktop.click(*pill.centre())
                fenlo.wait_for("[Fenlo] Cancelled by user", mark)
                wait_for(lambda: pill.dot() is None, "the pill to go")
                self.recogniser.answer(ANSWER)
                editor.activate()
                expected += ANSWER
                self.dictate_into(editor, expected)
        self.recogniser.misbehave("trickle")
        fenlo.wait_for("[Fenlo] Uploading", fenlo.dictate(self.clip))
        self._terminates_in_time()

    def _fails(self):
        self.fenlo.wait_for(FAULT, self.fenlo.dictate(self.clip))
        wait_for(lambda: pill.dot() is None, "the pill to go")
        self._leaves_no_file()

    def _leaves_no_file(self):
        wait_for(lambda: not list(self.fenlo.temporary.iterdir()), "the temporary files to go")

    def _terminates_in_time(self):
        started = time.monotonic()
        self.fenlo.process.terminate()
        self.assertEqual(self.fenlo.process.wait(15), 0)
        self.assertLess(time.monotonic() - started, 1.0)
        self._leaves_no_file()


if __name__ == "__main__":
    unittest.main()
