"""How words reach an application on a Wayland desktop, and what comes back to the clipboard. Runs by
scripts/virtual-desktop --wayland."""

import os
import subprocess
import unittest
from pathlib import Path

from harness import pill, processes, sway
from harness.case import WaylandCase
from harness.fenlo import PASTED
from harness.waiting import wait_for
from harness.wayland import Lacking

WAITS = "[Fenlo] ERROR: No key of this keyboard pastes"
LAYOUTS = (("us", ""), ("ru", ""), ("fr", ""), ("us", "dvorak"))
IMAGE = b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 4000

KEEPER = str(Path(os.environ["FENLO_PROGRAM"]).with_name("fenlo-clipboard"))


def keepers():
    """Those of this desktop."""
    here = f"XDG_RUNTIME_DIR={os.environ['XDG_RUNTIME_DIR']}".encode()
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            command = (process / "cmdline").read_bytes().split(b"\0")
            if command[0] == KEEPER.encode() and here in (process / "environ").read_bytes().split(b"\0"):
                found.append(process.name)
        except OSError:  # it has ended
            pass
    return found


def clipboard(form):
    return subprocess.run(["wl-paste", "--no-newline", "--type", form], capture_output=True, timeout=10).stdout


class WaylandPaste(WaylandCase):
    def copy(self, content, form):
        owner = processes.start(["wl-copy", "--foreground", "--type", form], stdin=subprocess.PIPE)
        self.addCleanup(processes.end, owner)
        owner.stdin.write(content)
        owner.stdin.close()
        wait_for(lambda: clipboard(form) == content, "the clipboard to be copied")

    def dictate(self, text, arrived=PASTED, client=None):
        self.recogniser.answer(text)
        mark = self.press(client)
        self.clip.speak()
        self.trigger("release")
        self.fenlo.wait_for(arrived, mark)

    def test_words_arrive_in_every_layout_and_the_clipboard_comes_back(self):
        self.start_fenlo({"voice_commands": False, "smart_rewrite": False, "auto_capitalize": False})
        self.copy(IMAGE, "image/png")
        for client in (sway.GtkEditor, sway.QtEditor):
            editor = self.open(client)
            expected = ""
            for layout, variant in LAYOUTS:
                with self.subTest(editor=editor.application, layout=layout, variant=variant):
                    self.keyboard.set_layout(layout, variant)
                    self.keyboard.press("Shift_L")
                    words = f"{layout}{variant} é 世界"
                    expected += "".join(words.split())
                    self.dictate(words, client=editor)
                    wait_for(editor.is_changed, f"words in {editor.application}")
                    self.keyboard.set_layout("us")
                    editor.wait_for_words(expected, self.keyboard)
            wait_for(lambda: clipboard("image/png") == IMAGE, "the picture on the clipboard again")
            editor.close()
        for client in (sway.Foot, sway.XTerminal):
            terminal = self.open(client)
            words = f"words é世界 in {terminal.application.lower()}"
            self.dictate(words, client=terminal)
            wait_for(lambda: words in self.ended_lines(terminal), "the words in the terminal")
            wait_for(lambda: clipboard("image/png") == IMAGE, "the picture on the clipboard again")
            terminal.close()

    def ended_lines(self, terminal):
        """What stands in the terminal. It may ask for the pasted words after it has heard the next key."""
        self.keyboard.press("Return")
        return [line.strip() for line in terminal.lines()]

    def test_clipboard_outlives_the_program(self):
        fenlo = self.start_fenlo({"voice_commands": False, "smart_rewrite": False, "auto_capitalize": False}, fresh=True)
        self.copy(IMAGE, "image/png")
        self.open(sway.Foot)
        self.dictate("words over a picture")
        fenlo.process.terminate()  # while the words are on the clipboard
        self.assertEqual(fenlo.process.wait(15), 0)
        self.assertEqual(clipboard("image/png"), IMAGE)
        self.assertTrue(keepers())
        self.copy(b"something else", "text/plain")
        wait_for(lambda: not keepers(), "the clipboard's keeper to end")

    def test_where_nothing_presses_keys_the_user_is_told_to(self):
        lacking = Lacking(self.folder, "zwp_virtual_keyboard_manager_v1")
        self.addCleanup(lacking.close)
        settings = {"voice_commands": False, "smart_rewrite": False, "auto_capitalize": False, "show_overlay": False}
        fenlo = self.start_fenlo(settings, {"WAYLAND_DISPLAY": lacking.socket})
        self.copy(IMAGE, "image/png")
        editor = self.open(sway.GtkEditor)
        self.dictate("pasted by hand", WAITS)
        wait_for(lambda: sway.pill_dot() == pill.RECORDING, "the pill that tells the keys")
        if folder := os.environ.get("FENLO_SCREENSHOTS"):
            sway.save_screenshot(Path(folder) / "paste_by_hand.png")
        self.assertEqual(sway.focused(), "mousepad")
        self.keyboard.press("Control_R+v")
        wait_for(lambda: editor.text(self.keyboard) == "pasted by hand", "the words in the editor")
        self.dictate("at once", WAITS)
        self.keyboard.press("Control_R+v")
        wait_for(lambda: editor.text(self.keyboard) == "pasted by handat once", "the next words in the editor")
        fenlo.process.terminate()
        self.assertEqual(fenlo.process.wait(15), 0)
        self.assertEqual(clipboard("image/png"), IMAGE)
        self.assertEqual([entry["full_text"] for entry in fenlo.statistics()["history"]], ["pasted by hand", "at once"])

    def test_every_text_can_be_typed(self):
        self.start_fenlo({"voice_commands": False, "smart_rewrite": False, "auto_capitalize": False, "type_all_texts": True})
        editor = self.open(sway.GtkEditor)
        text = "Grüße, мир! Ça coûte 5 €; 世界"
        self.dictate(text, "[Fenlo] Typed:")
        wait_for(lambda: editor.text(self.keyboard) == text, "the words in the editor")


if __name__ == "__main__":
    unittest.main()
