"""Words that act: spoken commands, headings, repairs of what was just typed, and snippets."""

import json
import time
import unittest

from harness import desktop
from harness.case import DesktopCase
from harness.waiting import wait_for


class VoiceCommands(DesktopCase):
    def test_punctuation_and_headings_are_typed(self):
        self.start_fenlo({"profession": "doctor"})
        editor = self.open_editor()
        self.say_and_paste("first line new line second one comma please")
        editor.wait_for_text("First line\nSecond one, please")
        self.say_and_paste("Plan. aspirin daily")
        editor.wait_for_text("First line\nSecond one, please\n\nPlan:\nAspirin daily")

    def test_select_all_and_delete_that(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor("to be replaced")
        self._act("Select all.")
        self.say_and_paste("Instead of it")
        editor.wait_for_text("Instead of it")
        self._act("Select all")
        self._act("Delete that.")
        editor.wait_for_text("")
        self.assertEqual(desktop.clipboard(), "Instead of it")
        self.assertEqual(len(fenlo.statistics()["history"]), 4)

    def test_copy_that(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        with desktop.clipboard_holding("what the user had copied"):
            self.say_and_paste("Remember this")
            wait_for(lambda: desktop.clipboard() == "what the user had copied", "the old clipboard")
            self._act("Copy that.")
            wait_for(lambda: desktop.clipboard() == "Remember this", "the dictation on the clipboard")
        time.sleep(1.2)  # beyond the time when a clipboard goes back to its owner
        self.assertEqual(desktop.clipboard(), "Remember this")
        editor.wait_for_text("Remember this")
        self.assertEqual(fenlo.statistics()["history"][-1]["words"], 1)

    def _act(self, words):
        """Says a command that types nothing."""
        entries = len(self._history())
        self.say(words)
        wait_for(lambda: len(self._history()) > entries, "the command in the history")
        self.fenlo.wait_for_entry("(command)")

    def _history(self):
        file = self.fenlo.home / ".fenlo/stats.json"
        return json.loads(file.read_text())["history"] if file.exists() else []


class Corrections(DesktopCase):
    def test_repairs_what_was_just_typed_and_nothing_else(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor("Typed by hand. ")
        editor.press_end()
        self.say_and_paste("We met at the clinic!")
        self.say_and_paste("No I meant hospital.")
        editor.wait_for_text("Typed by hand. We met at the hospital!")
        self.say_and_paste("I said Mercy")  # the window runs anew
        editor.wait_for_text("Typed by hand. We met at the Mercy!")
        self.assertEqual(fenlo.settings()["profession_vocabulary"], ["Mercy"])
        fenlo.wait_for_entry("(correction) We met at the Mercy!")

    def test_characters_are_counted_as_people_count_them(self):
        self.start_fenlo()
        editor = self.open_editor("Kept: ")
        expected = "Kept: "
        for text in ("Cafe\u0301 at the clinic", "👩‍👩‍👧 🎉 👍🏽 한국 각 At the clinic"):
            with self.subTest(text=text):
                editor.press_end()
                self.say_and_paste(text)
                self.say_and_paste("no I meant hospital")
                expected += text.replace("clinic", "hospital")
                editor.wait_for_text(expected)


class Snippets(DesktopCase):
    def test_triggers_expand_and_the_file_may_change_meanwhile(self):
        self.start_fenlo()
        editor = self.open_editor()
        self._write_snippets({"sig": "Best regards,\nAnn  — sent by voice"})
        self.say_and_paste("Sig.")
        expected = "Best regards,\nAnn  — sent by voice"
        editor.wait_for_text(expected)
        self._write_snippets({"sig": "Yours, A."})
        self.say_and_paste("Insert sig.")
        editor.wait_for_text(expected + "Yours, A.")

    def _write_snippets(self, snippets):
        entries = [{"trigger": trigger, "text": text} for trigger, text in snippets.items()]
        (self.fenlo.home / ".fenlo/snippets.json").write_text(json.dumps(entries))


if __name__ == "__main__":
    unittest.main()
