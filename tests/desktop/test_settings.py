"""The settings on screen: what is changed there is in the file, in the menu and in the next take, and the other way round."""

import json
import unittest

from harness import desktop, disk, pill
from harness.case import ANSWER, DesktopCase
from harness.sound import Listener
from harness.waiting import wait_for

GLOSSARIES = {
    "terms.csv": ("Alpha, beta\nALPHA".encode(), "Added 2 new terms (1 duplicates skipped)."),
    "terms.json": (json.dumps({"terms": ["Größe", "beta"]}).encode(), "Added 1 new terms (1 duplicates skipped)."),
    "terms.txt": ("Two words\nalpha\n".encode(), "Added 1 new terms (1 duplicates skipped)."),
    "latin.txt": (b"Stra\xdfe\n", "latin.txt could not be read as text of at most 1 MB. Nothing was added."),
}


class Settings(DesktopCase):
    def test_changes_count_at_once_in_file_take_and_menu(self):
        panel = self.open_panel()
        fenlo = self.start_fenlo({"profession": "lawyer"}, fresh=True)
        editor = self.open_editor()
        self.home = fenlo.open_home()
        self.home.find("page tab", "Settings").press()

        self._section("General")
        autostart = fenlo.home / ".config/autostart/org.fenlo.Fenlo.desktop"
        self.assertNotIn("Hidden=true", autostart.read_text())
        self.home.find("check box", "Open at login").press()
        wait_for(lambda: "Hidden=true" in autostart.read_text(), "the desktop's entry to be switched off")

        self._section("Language and text")
        self._toggle("Auto capitalize", "auto_capitalize")
        self._section("Dictation")
        self._toggle("Voice commands", "voice_commands")
        self.home.choose("Key", "Left Shift")
        self._wait_for_setting("hotkey", "shift_l")
        panel.wait_for_line("Hold [Left Shift] to dictate")
        self._try_the_key(fenlo, "Shift_L", "Left Shift")

        editor.activate()
        self._say("first line new line second", "Shift_L")
        editor.wait_for_text("first line new line second")

        panel.choose("Switch to Personal")
        desktop.activate(desktop.windows_named("Fenlo")[0])
        self._section("Profession")
        wait_for(lambda: self.home.find("combo box", "Mode").description == "Personal", "the mode in the window")
        self.home.choose("Mode", "Professional")
        panel.wait_for_line("Professional Mode (Lawyer)")
        self.home.find("check box", "Family Law").press()
        self._wait_for_setting("lawyer_practice_areas", ["family"])

        listener = Listener(self.folder)
        self.addCleanup(listener.close)
        self._section("Sounds")
        self._toggle("Sounds", "play_sounds")
        self.home.choose("Tones", "Harp")
        wait_for(lambda: listener.has_heard(523) and listener.has_heard(659), "the tones that were chosen")
        self._wait_for_setting("sound_scheme", "harp")

    def test_words_and_snippets_are_made_on_screen_and_spoken(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        self.home = fenlo.open_home()
        self.home.find("page tab", "Settings").press()

        self._section("Words")
        self.home.fill("Your words", "Anna, ")
        self._say("PostgreSQL")  # into Fenlo's own field
        self._wait_for_setting("custom_vocabulary", ["Anna", "PostgreSQL"])
        for name, (content, told) in GLOSSARIES.items():
            with self.subTest(name=name):
                (self.folder / name).write_bytes(content)
                self._import(self.folder / name)
                self.home.find("alert", f"{told}" if "could not" in told else f"Glossary Imported\n{told}")
                self.home.press_button("OK")
                self.home.wait_gone("push button", "OK")
        self._wait_for_setting("custom_vocabulary", ["Anna", "PostgreSQL", "Alpha", "beta", "Größe", "Two words"])

        self._section("Snippets")
        self.home.press_button("Add Snippet")
        wait_for(lambda: self.home.find("text", "Words to say, 1").has("focused"), "the keyboard in the new row")
        desktop.type_text("My Sig.")
        desktop.press("Tab")
        wait_for(lambda: self.home.find("text", "Text to insert, 1").has("focused"), "the keyboard in its text")
        desktop.type_text("Best regards, Anna")
        desktop.shortcut("w")  # what was typed a moment ago is kept
        file = fenlo.home / ".fenlo/snippets.json"
        expected = [{"trigger": "my sig", "text": "Best regards, Anna"}]
        wait_for(lambda: file.exists() and json.loads(file.read_text()) == expected, "the snippet in the file")
        editor.activate()
        self._say("My sig.")
        editor.wait_for_text("Best regards, Anna")

    def test_a_home_that_cannot_be_written_is_told_and_loses_nothing(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        make_writable = disk.make_read_only(self, fenlo.home)
        self.home = fenlo.open_home()
        self.home.find("page tab", "Settings").press()
        self._section("General")
        self.home.find("check box", "Status pill").press()
        fault = self.home.find("alert", "Your settings could not be written to…")
        self.assertTrue(fenlo.settings()["show_overlay"])
        self._section("Snippets")
        self.home.press_button("Add Snippet")
        self.home.fill("Words to say, 1", "my sig")
        self.home.fill("Text to insert, 1", "Best regards, Ann")
        desktop.press("Tab")
        self.home.find("alert", "The snippets could not be written to…")

        editor.activate()
        with desktop.held("Control_L"):
            self.clip.speak()
            self.assertEqual(pill.width(), 0, "the change does not hold")
        wait_for(lambda: "Clipboard set to:" in fenlo.errors(), "the paste")  # the log has no file now
        editor.wait_for_text(ANSWER)

        make_writable()
        desktop.activate(desktop.windows_named("Fenlo")[0])
        self.home.press_button("Try Again")
        self._wait_for_setting("show_overlay", False)
        wait_for(lambda: not fault.has("showing"), "the fault to go")
        self.home.find("text", "Text to insert, 1").focus()
        desktop.press(f"{desktop.RIGHT_CONTROL}+End", "a")
        expected = [{"trigger": "my sig", "text": "Best regards, Anna"}]
        file = fenlo.home / ".fenlo/snippets.json"
        wait_for(lambda: file.exists() and json.loads(file.read_text()) == expected, "the snippet in the file")

    def _section(self, name):
        self.home.find("list item", name).press()
        self.home.find("heading", name)

    def _toggle(self, name, key):
        before = self.fenlo.settings()[key]
        self.home.find("check box", name).press()
        self._wait_for_setting(key, not before)

    def _wait_for_setting(self, key, value):
        try:
            wait_for(lambda: self.fenlo.settings()[key] == value, f"{key} to be {value} in the file")
        except AssertionError as fault:
            raise AssertionError(f"{fault}; it is {self.fenlo.settings()[key]}") from None

    def _try_the_key(self, fenlo, key, label):
        """Presses it when the window asks for it: the window shows it, and no take begins."""
        mark = fenlo.mark()
        self.home.press_button("Test Key")
        self.home.find("alert", f"Hold {label} now, then let go.")
        with desktop.held(key):
            self.home.find("alert", "Fenlo hears the key. Let go.")
        self.home.find("alert", f"{label} works.")
        self.assertEqual(fenlo.lines("[Fenlo] Recording at", mark), [])

    def _say(self, words, key="Control_L"):
        self.recogniser.answer(words)
        self.fenlo.wait_for_paste(self.fenlo.dictate(self.clip, key))

    def _import(self, file):
        """Picks the file in the desktop's dialog."""
        title = "Select a glossary file .*"
        self.home.press_button("Import Glossary…")
        dialog = wait_for(lambda: desktop.windows_named(title), "the dialog")[0]
        desktop.activate(dialog)
        desktop.type_text(str(file))
        desktop.press("Return")
        wait_for(lambda: not desktop.windows_named(title), "the dialog to close")


if __name__ == "__main__":
    unittest.main()
