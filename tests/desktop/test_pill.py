"""The pill on the screen: there during a take, gone afterwards, never in the way of the keyboard."""

import os
import time
import unittest
from pathlib import Path

from harness import desktop, pill, processes
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for


class Pill(DesktopCase):
    def test_shows_the_take_and_leaves_the_focus_alone(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        self.recogniser.answer("The quick brown fox", delay=0.8)
        self.assertIsNone(pill.dot())
        with desktop.held(HOTKEY):
            wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
            self.assertEqual(desktop.active_window(), editor.window)
            self.clip.speak()
        wait_for(lambda: pill.dot() == pill.PROCESSING, "the processing pill")
        self.assertEqual(desktop.active_window(), editor.window)
        fenlo.wait_for_paste(0)
        wait_for(lambda: pill.dot() is None, "the pill to go")
        editor.wait_for_text("The quick brown fox")

    def test_switched_off_it_never_shows(self):
        fenlo = self.start_fenlo({"show_overlay": False})
        self.open_editor()
        with desktop.held(HOTKEY):
            fenlo.wait_for("[Fenlo] Recording at")
            time.sleep(0.3)
            self.assertIsNone(pill.dot())

    @unittest.skipUnless("FENLO_PICTURE" in os.environ, "FENLO_PICTURE names no file for a picture of a dictation")
    def test_picture_of_a_dictation(self):
        compositor = processes.start(["picom", "--backend", "xrender"])
        self.addCleanup(processes.end, compositor)
        processes.output(["xsetroot", "-solid", "#3d5a80"])
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        processes.output(["xdotool", "windowsize", str(editor.window), "760", "360"])
        processes.output(["xdotool", "windowmove", str(editor.window), "260", "130"])
        text = "Hold a key, speak, let go: the words stand at the cursor"
        self.recogniser.answer(text)
        self.dictate_into(editor, text)
        with desktop.held(HOTKEY):
            self.clip.speak()
            wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
            picture = Path(os.environ["FENLO_PICTURE"])
            picture.parent.mkdir(parents=True, exist_ok=True)
            desktop.save_screenshot(picture)
        fenlo.wait_for("[Fenlo] CGEvent paste OK", count=2)


if __name__ == "__main__":
    unittest.main()
