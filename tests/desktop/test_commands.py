"""Takes that a tap on Space turns into instructions."""

import time
import unittest
import uuid

from harness import desktop
from harness.case import RewritingCase
from harness.waiting import wait_for


def entry(text, ago=0.0):
    """An entry of the history, spoken so many hours ago."""
    moment = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() - 3600 * ago))
    return {
        "entry_id": str(uuid.uuid4()).upper(), "ts": moment, "words": len(text.split()), "wpm": 100.0, "duration": 2.0,
        "text_preview": text[:80], "full_text": text, "synced": False,
    }  # fmt: skip


class Commands(RewritingCase):
    settings = {**RewritingCase.settings, "smart_rewrite": False}  # commands do not depend on it

    def test_answer_takes_the_place_of_the_selection(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor("Dear Ann,\nsend the stuff now\nBye", "thunderbird")
        editor.press(f"{desktop.RIGHT_CONTROL}+Home", "Down", "Shift_L+End")
        self.gemini.answer("Could you please send the material?")
        with desktop.clipboard_holding("copied before"):
            mark = self.command("Make this polite.", sees="selected=18chars")
            fenlo.wait_for_paste(mark)
            editor.wait_for_text("Dear Ann,\nCould you please send the material?\nBye")
            wait_for(lambda: desktop.clipboard() == "copied before", "the old clipboard")
        [request] = self.gemini.requests()
        self.assertIn("The tone should be professional and well-structured - Follow", request["system"])
        self.assertIn('Selected text:\n"""\nsend the stuff now\n"""\n\nVoice command: Make this polite', request["user"])
        self.assertNotIn("copied before", request["user"])
        fenlo.wait_for_entry("AI: Could you please send the material?")

    def test_nothing_selected_and_the_answer_stands_at_the_cursor(self):
        self.start_fenlo()
        editor = self.open_editor("Note: ")
        editor.press_end()
        self.gemini.answer("I am on leave until Monday.")
        self.fenlo.wait_for_paste(self.command("Say that I am on leave.", sees="existing=6chars"))
        editor.wait_for_text("Note: I am on leave until Monday.")
        self.assertNotIn("Selected text", self.gemini.requests()[0]["user"])

    def test_without_a_text_field_the_answer_shows_on_a_card(self):
        fenlo = self.start_fenlo(fresh=True)
        self.open_notice()
        self.gemini.answer("The answer on the card")
        self.command("What is the answer?")
        fenlo.wait_for_entry("AI: The answer on the card")
        self.assertFalse(fenlo.lines("[Fenlo] CGEvent paste"))
        [card] = wait_for(lambda: desktop.windows_of(fenlo.process.pid), "the card")
        self.assertNotEqual(desktop.active_window(), card)
        self.assertIsNone(desktop.clipboard())
        left, top, _, height = desktop.geometry(card)
        desktop.click(left + 70, top + height - 34)
        wait_for(lambda: desktop.clipboard() == "The answer on the card", "the copied answer")

    def test_program_in_a_terminal_is_not_interrupted(self):
        fenlo = self.start_fenlo()
        terminal = self.open_terminal()
        self.gemini.answer("ls -l")
        self.command("List the files")
        fenlo.wait_for_entry("AI: ls -l")
        self.assertIsNone(terminal.process.poll(), "the keys that copy elsewhere ended the program in the terminal")

    def test_recall_finds_what_was_dictated(self):
        history = [
            entry("An email of long ago about the price of tea", ago=24 * 40),
            entry("The email about pricing: ten euros each", ago=2),
            entry("Two words", ago=1),
        ]
        fenlo = self.start_fenlo(history=history)
        editor = self.open_editor("Found: ")
        editor.press_end()
        self.gemini.answer("The email about pricing: ten euros each")
        question = "What was that email about pricing from last week?"
        fenlo.wait_for_paste(self.command(question, sees="existing=7chars"))
        editor.wait_for_text("Found: The email about pricing: ten euros each")
        [request] = self.gemini.requests()
        self.assertIn("You are a memory assistant", request["system"])
        self.assertIn("User asked: What was that email about pricing from last week", request["user"])
        self.assertIn("1 most recent dictation entries:\n\n[1] ", request["user"])
        self.assertNotIn("price of tea", request["user"])

    def test_failed_command_leaves_the_instruction(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        for model in (self.gemini, self.groq):
            model.misbehave("500")
        fenlo.wait_for_paste(self.command("Write a poem"))
        editor.wait_for_text("Write a poem")
        self.assertEqual([len(self.gemini.requests()), len(self.groq.requests())], [1, 1])
        # A question about the past costs no request when there is no past.
        fenlo.wait_for_paste(self.command("what did I say yesterday"))
        self.assertEqual(len(self.gemini.requests()), 1)
        self.assertEqual(len(fenlo.lines("[Fenlo] ERROR: AI Command failed, inserting raw text")), 2)


if __name__ == "__main__":
    unittest.main()
