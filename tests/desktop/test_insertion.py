"""The paste: long texts, the clipboard on loan, held modifiers, other layouts, programs that hang."""

import os
import signal
import time
import unittest

from harness import desktop
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY, PASTED
from harness.waiting import wait_for


class Insertion(DesktopCase):
    def setUp(self):
        super().setUp()
        self.start_fenlo()

    def test_long_text_with_characters_of_all_planes_arrives_whole(self):
        text = "Grüße, мир, 世界, 👩‍👩‍👧 and e\u0301 " + " ".join(f"Word{number}" for number in range(20_000))[:99_999] + "!"
        self.recogniser.answer(text)
        self.dictate_into(self.open_editor(), text)

    def test_owner_of_the_clipboard_that_never_answers(self):
        editor = self.open_editor()
        with desktop.clipboard_holding("nobody will read this") as owner:
            os.kill(owner.pid, signal.SIGSTOP)
            self.dictate_into(editor)

    def test_modifier_still_held_is_waited_for(self):
        editor = self.open_editor()
        self.recogniser.answer(ANSWER, delay=0.3)
        mark = self.fenlo.dictate(self.clip)
        with desktop.held("Shift_L"):
            self.fenlo.wait_for("[Fenlo] Clipboard set to:", mark)
            time.sleep(0.5)
            self.assertFalse(self.fenlo.lines(PASTED, mark), "pasted while Shift was held")
        self.fenlo.wait_for_paste(mark)
        editor.wait_for_text(ANSWER)
        desktop.press("a")
        editor.wait_for_text(ANSWER + "a")

    def test_layouts_without_a_v_at_its_place(self):
        editor = self.open_editor()
        expected = ""
        for layout, variant in (("us", "dvorak"), ("fr", ""), ("us,ru", ""), ("ru", "")):
            with self.subTest(layout=layout, variant=variant), desktop.keyboard_layout(layout, variant):
                self.fenlo.wait_for_paste(self.fenlo.dictate(self.clip))
            expected += ANSWER
            editor.wait_for_text(expected)

    def test_frozen_application_does_not_hold_up_the_next_take(self):
        terminal = self.open_terminal()
        editor = self.open_editor()
        editor.freeze()
        mark = self.fenlo.mark()
        started = time.monotonic()
        desktop.key_down(HOTKEY)
        self.fenlo.wait_for("[Fenlo] Recording at", mark)
        self.assertLess(time.monotonic() - started, 2.0)
        self.clip.speak()
        desktop.key_up(HOTKEY)
        self.fenlo.wait_for("[Fenlo] Result:", mark)
        self.fenlo.wait_for_paste(mark)
        terminal.activate()
        self.dictate_into(terminal, ANSWER.lower())
        editor.thaw()


if __name__ == "__main__":
    unittest.main()
