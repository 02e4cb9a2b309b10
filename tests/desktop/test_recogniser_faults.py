"""A recogniser that fails, hangs or talks nonsense, and the take after it."""

import time
import unittest

from harness import desktop, pill
from harness.case import ANSWER, DesktopCase
from harness.waiting import wait_for


class RecogniserFaults(DesktopCase):
    def setUp(self):
        super().setUp()
        self.start_fenlo()
        self.editor = self.open_editor()

    def test_server_error_is_told_in_the_log_alone(self):
        self._fails_and_recovers("500")

    def test_connection_closed_early(self):
        self._fails_and_recovers("close")

    def test_garbage_for_an_answer(self):
        self._fails_and_recovers("garbage")

    def test_nobody_at_the_address(self):
        self.services.close()
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for("[Fenlo] ERROR: Transcription error:", mark)
        wait_for(lambda: pill.dot() is None, "the pill to go")
        self.assertEqual(self.editor.text(), "")

    def test_invalid_utf8_is_repaired(self):
        self.recogniser.misbehave("utf8")
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for_paste(mark)
        wait_for(lambda: "\ufffd" in self.editor.text(), "the replacement character")

    def test_hanging_recogniser_can_be_cancelled(self):
        self.recogniser.misbehave("hang")
        mark = self.fenlo.mark()
        self.fenlo.dictate(self.clip)
        self.fenlo.wait_for("[Fenlo] Uploading", mark)
        released = time.monotonic()
        narrow = wait_for(pill.width, "the pill of a running job")
        wait_for(lambda: pill.width() >= narrow + 60, "the offer to stop")
        self.assertGreater(time.monotonic() - released, 2.5, "offered too early")
        desktop.click(*pill.centre())
        self.fenlo.wait_for("[Fenlo] Cancelled by user", mark)
        wait_for(lambda: pill.dot() is None, "the pill to go")

        self.recogniser.answer(ANSWER)
        self.editor.activate()
        self.dictate_into(self.editor)

    def _fails_and_recovers(self, mode):
        self.recogniser.misbehave(mode)
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for("[Fenlo] ERROR: Transcription error:", mark)
        wait_for(lambda: pill.dot() is None, "the pill to go")
        self.recogniser.answer(ANSWER)
        self.dictate_into(self.editor)


if __name__ == "__main__":
    unittest.main()
