"""Dictations that a language model polishes before they are typed, and the keys of the services."""

import os
import unittest

from harness import processes, sound
from harness.case import ANSWER, RewritingCase
from harness.keyring import Keyring
from harness.waiting import wait_for

BEEP, END_TONE = 440, 660  # hertz
TONES = {
    "signal": "casual and conversational — like a quick chat message",
    "thunderbird": "professional and well-structured — proper grammar and punctuation",
    "mousepad": "natural and clear",
}


class Rewriting(RewritingCase):
    def test_tone_follows_the_application_in_front(self):
        self.start_fenlo()
        for number, (name, tone) in enumerate(TONES.items(), 1):
            with self.subTest(application=name):
                editor = self.open_editor("Dear Ann, ", name)
                editor.press_end()
                self.gemini.answer(f"I'll be late, take {number}.")
                self.say_and_paste("well i will be late")
                editor.wait_for_text(f"Dear Ann, I'll be late, take {number}.")
                request = self.gemini.requests()[-1]
                self.assertIn(f". The tone should be {tone}", request["system"])
                self.assertIn("Text already in the field", request["user"])
                self.assertIn('"""\nDear Ann, \n"""', request["user"])
                # What reached the model is what was said, with a capital.
                self.assertTrue(request["user"].endswith('Raw dictation to format:\n"""\nWell i will be late\n"""'))
        self.assertEqual(len(self.gemini.requests()), len(TONES))
        self.assertEqual(self.groq.requests(), [])

    def test_terminal_gets_a_command_line(self):
        self.start_fenlo()
        terminal = self.open_terminal()
        self.gemini.answer("git status | wc -l")
        self.say_and_paste("Get status pipe WC dash L.")
        terminal.wait_for_text("git status | wc -l")
        [request] = self.gemini.requests()
        self.assertIn("The tone should be technical and precise.", request["system"])
        self.assertIn("Your output will be pasted directly into a shell and executed.", request["system"])

    def test_without_any_model_the_words_stand_as_spoken_and_it_beeps(self):
        self.start_fenlo({"play_sounds": True})
        editor = self.open_editor()
        listener = sound.Listener(self.folder)
        self.addCleanup(listener.close)
        for model in (self.gemini, self.groq):
            model.misbehave("503")
        self.say_and_paste("As it was spoken")
        wait_for(lambda: listener.has_heard(BEEP), "the beep")
        editor.wait_for_text("As it was spoken")
        self.assertFalse(listener.has_heard(END_TONE), "the tone of a success sounded")
        self.assertEqual([len(self.gemini.requests()), len(self.groq.requests())], [2, 2])

        self.gemini.answer("And polished.")
        self.say_and_paste("and polished")
        wait_for(lambda: listener.has_heard(END_TONE), "the end tone")
        editor.wait_for_text("As it was spokenAnd polished.")


class Secrets(RewritingCase):
    environment = {"GROQ_API_KEY": None}

    def test_each_service_gets_its_key_from_the_keyring(self):
        keyring = Keyring(self.folder)
        self.addCleanup(keyring.close)
        for service in ("xai", "gemini", "groq"):
            command = [os.environ["FENLO_PROGRAM"], "keys", "set", service]
            processes.output(command, input=f"{service}_of_the_keyring\n")
        fenlo = self.start_fenlo({"stt_engine": "stt81"})
        editor = self.open_editor()
        self.gemini.misbehave("500")
        self.groq.answer("Polished by the second model.")
        self.say_and_paste(ANSWER)
        editor.wait_for_text("Polished by the second model.")
        [spoken] = self.recogniser.requests()
        self.assertEqual((spoken["target"], spoken["authorization"]), ("/v1/stt", "Bearer xai_of_the_keyring"))
        self.assertTrue(self.gemini.requests()[0]["target"].endswith("?key=gemini_of_the_keyring"))
        self.assertEqual(self.groq.requests()[0]["authorization"], "Bearer groq_of_the_keyring")
        self.assertNotIn("of_the_keyring", fenlo.errors())


if __name__ == "__main__":
    unittest.main()
