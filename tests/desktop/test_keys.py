"""The hotkey among the other keys: chords, another hotkey."""

import unittest

from harness import desktop, pill
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for

SPARE_KEYCODE = 248  # no key of the virtual keyboard sends it


class Keys(DesktopCase):
    def test_chord_leaves_no_trace_but_its_own(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor("selected by the chord, replaced by the take")
        with desktop.held(HOTKEY):
            self.clip.speak()
            desktop.press("a")
        fenlo.wait_for("[Fenlo] Chord detected — cancelling recording silently")
        wait_for(lambda: pill.dot() is None, "the pill to go")
        self.dictate_into(editor)
        self.assertEqual(len(self.recogniser.requests()), 1)

    def test_fn_where_the_keyboard_sends_it(self):
        with desktop.key_named("XF86Fn", SPARE_KEYCODE) as key:
            fenlo = self.start_fenlo({"hotkey": "fn"})
            editor = self.open_editor()
            fenlo.wait_for_paste(fenlo.dictate(self.clip, key))
            editor.wait_for_text(ANSWER)


if __name__ == "__main__":
    unittest.main()
