"""Keys of services that lie in the keyring of the desktop."""

import os
import unittest

from harness import processes
from harness.case import ANSWER, RewritingCase
from harness.keyring import Keyring


class Secrets(RewritingCase):
    environment = {"GROQ_API_KEY": None}

    def setUp(self):
        super().setUp()
        keyring = Keyring(self.folder)
        self.addCleanup(keyring.close)

    def test_speech_goes_to_the_service_whose_key_is_kept(self):
        self._keep("xai", "xai_of_the_keyring")
        fenlo = self.start_fenlo({"stt_engine": "stt81", "smart_rewrite": False})
        self.dictate_into(self.open_editor())
        [request] = self.recogniser.requests()
        self.assertEqual(request["target"], "/v1/stt")
        self.assertEqual(request["authorization"], "Bearer xai_of_the_keyring")
        self.assertNotIn("xai_of_the_keyring", fenlo.errors())

    def test_rewriting_takes_the_keys_of_the_models(self):
        self._keep("xai", "xai_of_the_keyring")
        self._keep("gemini", "gemini_of_the_keyring")
        self._keep("groq", "groq_of_the_keyring")
        fenlo = self.start_fenlo({"stt_engine": "stt81"})
        editor = self.open_editor()
        self.gemini.misbehave("500")
        self.groq.answer("Polished by the second model.")
        self.say_and_paste(ANSWER)
        editor.wait_for_text("Polished by the second model.")
        self.assertTrue(self.gemini.requests()[0]["target"].endswith("?key=gemini_of_the_keyring"))
        self.assertEqual(self.groq.requests()[0]["authorization"], "Bearer groq_of_the_keyring")
        self.assertNotIn("of_the_keyring", fenlo.errors())

    def _keep(self, service, key):
        processes.output([os.environ["FENLO_PROGRAM"], "keys", "set", service], input=key + "\n")


if __name__ == "__main__":
    unittest.main()
