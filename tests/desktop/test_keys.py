"""The hotkey among the other keys: chords, twins, command mode, other hotkeys."""

import time
import unittest

from harness import desktop, pill
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for

SPARE_KEYCODE = 248  # no key of the virtual keyboard sends it


class Keys(DesktopCase):
    def test_chord_leaves_no_trace(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor("kept")
        with desktop.held(HOTKEY):
            self.clip.speak()
            desktop.press("c")
        fenlo.wait_for("[Fenlo] Chord detected — cancelling recording silently")
        wait_for(lambda: pill.dot() is None, "the pill to go")
        self.dictate_into(editor, "The quick brown foxkept")
        self.assertEqual(len(self.recogniser.requests()), 1)

    def test_shortcut_typed_with_the_hotkey_still_works(self):
        self.start_fenlo()
        editor = self.open_editor("replaced by the take")
        with desktop.held(HOTKEY):
            desktop.press("a")
        self.dictate_into(editor)

    def test_right_control_is_another_key(self):
        fenlo = self.start_fenlo()
        self.open_editor()
        with desktop.held(desktop.RIGHT_CONTROL):
            time.sleep(0.3)
        self.assertFalse(fenlo.lines("[Fenlo] Hotkey pressed"))
        with desktop.held(HOTKEY):
            fenlo.wait_for("[Fenlo] Hotkey pressed")
            desktop.press(desktop.RIGHT_CONTROL)
            time.sleep(0.3)
            self.assertFalse(fenlo.lines("[Fenlo] Hotkey released"), "the twin's release ended the take")
        fenlo.wait_for("[Fenlo] Hotkey released")

    def test_space_makes_the_take_a_command(self):
        fenlo = self.start_fenlo()
        self.open_editor()
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            desktop.press("space")
            fenlo.wait_for("[Fenlo] Command mode activated (Space pressed)")
            wait_for(lambda: pill.dot() == pill.COMMAND, "the pill in the colour of commands")
            self.clip.speak()
        fenlo.wait_for("[Fenlo] AI Command: 'The quick brown fox'", mark)
        self.assertFalse(fenlo.lines("[Fenlo] Chord", mark))


class Hotkeys(DesktopCase):
    def test_left_shift(self):
        self._dictates_with("shift_l", "Shift_L")

    def test_left_command(self):
        self._dictates_with("cmd_l", "Super_L")

    def test_right_option(self):
        self._dictates_with("option_r", desktop.RIGHT_ALT)

    def test_fn_where_the_keyboard_sends_it(self):
        with desktop.key_named("XF86Fn", SPARE_KEYCODE) as key:
            self._dictates_with("fn", key)

    def _dictates_with(self, name, key):
        fenlo = self.start_fenlo({"hotkey": name})
        editor = self.open_editor()
        fenlo.wait_for_paste(fenlo.dictate(self.clip, key))
        editor.wait_for_text("The quick brown fox")


if __name__ == "__main__":
    unittest.main()
