"""A Wayland desktop: sway, with real clients. Runs by scripts/virtual-desktop --wayland."""

import os
import subprocess
import threading
import unittest
from pathlib import Path

from harness import pill, processes, screen, sway
from harness.case import ANSWER, RewritingCase, WaylandCase
from harness.fenlo import PASTED
from harness.keyboard import Keyboard
from harness.waiting import wait_for
from harness.wayland import Pointer

TRIGGER = Path(os.environ["FENLO_PROGRAM"]).with_name("fenlo-trigger")


class Wayland(WaylandCase):
    def wait_for_pill(self, colour, scale=1):
        wait_for(lambda: sway.pill_dot(scale) == colour, f"the pill in the colour {colour}")

    def upper_edge(self, scale=1):
        """The pixels of a line through the pill near its top, from 200 points left of the middle."""
        return sway.pixels(sway.screen_width() // 2 - 200, pill.TOP + 4, 400, 1, scale)[0]

    def pill_width(self):
        left, right = pill.edges_in(self.upper_edge())
        return right - left

    def begun_take(self, client):
        """A take that the compositor's own shortcut begins. Returns what the program saw in front."""
        return self.fenlo.wait_for("[Fenlo] Context:", self.press(client))

    def end_take(self):
        processes.output([os.environ["FENLO_PROGRAM"], "trigger", "cancel"], env=self.fenlo.environment)
        self.trigger("release")
        wait_for(lambda: sway.pill_dot() is None, "the pill to go")

    def test_pill_is_seen_and_takes_nothing(self):
        self.start_fenlo({"show_app_in_pill": False})
        terminal = self.open(sway.Foot)
        self.assertIn("bundle=foot.terminal", self.begun_take(terminal))
        self.wait_for_pill(pill.RECORDING)
        self.assertEqual(sway.focused(), "foot")
        self.keyboard.type("typed beside it")
        self.keyboard.press("Return")
        wait_for(lambda: terminal.lines() == ["typed beside it"], "the terminal to hear the keys")
        self.end_take()

        sway.message("output HEADLESS-1 scale 2")
        self.addCleanup(sway.message, "output HEADLESS-1 scale 1")
        self.begun_take(terminal)
        self.wait_for_pill(pill.RECORDING, scale=2)
        left, right = pill.edges_in(self.upper_edge(scale=2))
        self.assertAlmostEqual((left + right) / 2, 400, delta=2)
        self.assertAlmostEqual(right - left, 2 * 86, delta=4)  # 98 points less the round ends
        self.end_take()
        self.assertEqual(sway.focused(), "foot")

    def test_words_stand_at_the_cursor(self):
        fenlo = self.start_fenlo()
        terminal = self.open(sway.Foot)
        for client in (sway.GtkEditor, sway.QtEditor):
            editor = self.open(client)
            self.dictate(editor)
            wait_for(lambda: editor.text(self.keyboard) == ANSWER, f"the words in {editor.application}")
        sway.focus("foot")
        self.dictate(terminal)
        # Commands begin with a small letter.
        wait_for(lambda: self.ended_lines(terminal) == ["the quick brown fox"], "the words in the terminal")
        self.assertEqual(len(fenlo.lines(PASTED)), 3)

    def ended_lines(self, terminal):
        """What stands in the terminal. It may ask for the pasted words after it has heard the next key."""
        self.keyboard.press("Return")
        return [line for line in terminal.lines() if line]

    def dictate(self, client):
        """A whole take into this client, that the compositor's own shortcut begins and ends."""
        mark = self.press(client)
        self.clip.speak()
        self.trigger("release")
        self.fenlo.wait_for_paste(mark)

    def test_slow_job_is_stopped_by_a_click(self):
        pointer = Pointer(1280, 800)
        self.addCleanup(pointer.close)
        fenlo = self.start_fenlo()
        self.open(sway.Foot)
        self.recogniser.misbehave("hang")
        mark = fenlo.mark()
        self.trigger("press")
        fenlo.wait_for("[Fenlo] Recording at", mark)
        self.clip.speak()
        self.trigger("release")
        fenlo.wait_for("[Fenlo] Uploading", mark)
        wait_for(lambda: self.pill_width() > 150, "the offer to stop")
        pointer.click(640, pill.TOP + pill.HEIGHT // 2)
        wait_for(lambda: sway.pill_dot() is None, "the pill to go")
        self.assertEqual(sway.focused(), "foot")

    def answered(self, answer):
        """A command whose answer has nowhere to go: a card shows it."""
        self.gemini.answer(answer)
        mark = self.fenlo.mark()
        self.trigger("press")
        self.fenlo.wait_for("[Fenlo] Recording at", mark)
        self.trigger("command")
        self.clip.speak()
        self.trigger("release")
        wait_for(self.card, "the card")

    @staticmethod
    def card():
        """The card's rows on the screen as (top, bottom); none when there is none."""
        column = sway.pixels(sway.screen_width() // 2 - 190, 0, 1, 800)
        rows = [y for y, [pixel] in enumerate(column) if pill.is_body(pixel)]
        return (rows[0], rows[-1]) if len(rows) > 100 else None

    def test_card_is_used_with_the_mouse_and_goes_with_a_click_elsewhere(self):
        pointer = Pointer(1280, 800)
        self.addCleanup(pointer.close)
        fenlo = self.start_fenlo({**RewritingCase.settings, "smart_rewrite": False}, RewritingCase.environment)
        notice = self.open(sway.Notice)
        left = (1280 - 400) // 2
        for click_elsewhere in (True, False):
            self.answered("The answer on the card")
            _, bottom = self.card()
            self.assertEqual(sway.focused(), notice.application)
            if click_elsewhere:
                pointer.click(200, 600)
            else:
                pointer.click(left + 70, bottom - 33)
                wait_for(lambda: fenlo.lines("[Fenlo] Copied to clipboard: The answer"), "the answer to be copied")
                self.assertTrue(self.card())
                self.trigger("cancel")
            wait_for(lambda: not self.card(), "the card to go")
        self.assertEqual(sway.focused(), notice.application)

    def orders(self):
        """A pipe for the compositor's shortcuts. The compositor runs as another user here, whom the program would not hear,
        so somebody of its own user reads the words and carries them on, one after the other."""
        self.folder.chmod(0o711)
        pipe = self.folder / "orders"
        os.mkfifo(pipe)
        pipe.chmod(0o666)
        def carry(words):
            for word in iter(words.readline, "end\n"):
                subprocess.run([TRIGGER, word.strip()], env=self.fenlo.environment, check=False, timeout=15)

        words = os.fdopen(os.open(pipe, os.O_RDWR), encoding="ascii")  # it never ends while nobody writes
        carrier = threading.Thread(target=carry, args=[words])
        carrier.start()
        self.addCleanup(words.close)
        self.addCleanup(carrier.join)
        self.addCleanup(pipe.write_text, "end\n")
        return pipe

    def bind(self, *shortcuts):
        pipe = self.orders()
        for shortcut in shortcuts:
            *key, word = shortcut.split()
            sway.message(f"bindsym {' '.join(key)} exec 'echo {word} > {pipe}'")
            self.addCleanup(sway.message, f"unbindsym {' '.join(key)}")

    def test_shortcuts_of_the_compositor_dictate(self):
        fenlo = self.start_fenlo()
        self.open(sway.Foot)
        self.bind("--no-repeat Pause press", "--release Pause release", "--no-repeat F12 toggle", "--no-repeat Mod4+c cancel")

        held = fenlo.mark()
        self.keyboard.down("Pause")
        fenlo.wait_for("[Fenlo] Recording at", held)
        self.trigger("press")  # as desktops do that repeat a key
        self.wait_for_pill(pill.RECORDING)
        self.clip.speak()
        self.keyboard.up("Pause")
        fenlo.wait_for_entry(ANSWER.lower())
        self.assertEqual(len(fenlo.lines("[Fenlo] Hotkey pressed", held)), 1)
        wait_for(lambda: sway.pill_dot() is None, "the pill to go")

        toggled = fenlo.mark()
        self.keyboard.press("F12")
        fenlo.wait_for("[Fenlo] Recording at", toggled)
        self.clip.speak()
        self.assertFalse(fenlo.lines("[Fenlo] Hotkey released", toggled))
        self.keyboard.press("F12")
        fenlo.wait_for("[Fenlo] Result:", toggled)
        wait_for(lambda: sway.pill_dot() is None, "the pill to go")

        dropped = fenlo.mark()
        self.keyboard.press("F12")
        fenlo.wait_for("[Fenlo] Recording at", dropped)
        self.clip.speak()
        self.keyboard.press("Super_L+c")
        fenlo.wait_for("[Fenlo] Recording cancelled", dropped)
        wait_for(lambda: sway.pill_dot() is None, "the pill to go")
        self.assertEqual(len(self.recogniser.requests()), 2)
        self.assertFalse(fenlo.lines("[Fenlo] Uploading", dropped))

    def test_front_applications_are_known(self):
        self.start_fenlo()
        for client, name in ((sway.GtkEditor, "Mousepad"), (sway.QtEditor, "FeatherPad"), (sway.XTerminal, "XTerm")):
            opened = self.open(client)
            self.assertIn(f"app={name} ", self.begun_take(opened))
            self.assertEqual(sway.focused(), opened.application)
            self.end_take()

    def test_desktop_without_an_x_server(self):
        compositor = sway.Compositor(self.folder, subprocess.DEVNULL, xwayland=False)
        self.addCleanup(compositor.end)
        with compositor.entered():
            keyboard = Keyboard()
            self.addCleanup(keyboard.close)
            environment = {**compositor.environment, **RewritingCase.environment}
            fenlo = self.start_fenlo({**RewritingCase.settings, "smart_rewrite": False}, environment)
            self.answered("The answer on the card")
            card = wait_for(lambda: screen.application(fenlo.process.pid), "the program on the accessibility bus")
            card.find("push button", "Copy").press()
            fenlo.wait_for("[Fenlo] Copied to clipboard: The answer")
            card.find("push button", "Dismiss").press()
            wait_for(lambda: not self.card(), "the card to go")
            terminal = self.open(sway.Foot)
            self.assertIn("bundle=foot.terminal", self.begun_take(terminal))
            self.wait_for_pill(pill.RECORDING)
            self.assertEqual(sway.focused(), "foot")
            self.end_take()
        compositor.end()
        self.assertEqual(fenlo.process.wait(15), 1)
        told = "[Fenlo] ERROR: The connection to the Wayland compositor is lost"
        self.assertEqual([line for line in fenlo.errors().splitlines() if "onnection" in line and "ost" in line], [told])


if __name__ == "__main__":
    unittest.main()
