"""The deployment's own service in a whole program: keys from it, what it is told, and that nobody waits for it."""

from harness.case import ANSWER, DesktopCase
from harness.waiting import wait_for


class Service(DesktopCase):
    environment = {"GROQ_API_KEY": None}

    def previews(self):
        """All that the service was told of dictations."""
        bodies = [request["body"] for request in self.services.backend.requests("stats")]
        return [entry["text_preview"] for body in bodies for entry in body["entries"]]

    def test_its_key_is_used_and_a_take_does_not_wait_for_it(self):
        backend = self.services.backend
        deployment = {"service_host": self.services.address, "apple_services_id": ""}  # nobody signs in
        fenlo = self.start_fenlo({"profession": "doctor"}, deployment=deployment)
        editor = self.open_editor()
        fenlo.wait_for("[Fenlo] Backend: config fetched")
        self.dictate_into(editor)
        self.assertEqual(self.recogniser.requests()[-1]["authorization"], "Bearer standin-groq-key")
        for endpoint in ("heartbeat", "profile"):
            backend.wait_for_request(endpoint)
        self.assertEqual(len(backend.requests("register")), 1)
        wait_for(lambda: self.previews() == [ANSWER], "the entry at the service")
        wait_for(lambda: fenlo.statistics()["history"][-1]["synced"], "the entry marked as sent")

        # It hangs: takes go with the key that is in memory, and are over before the service's time-out is.
        backend.misbehave("hang")
        asked = len(backend.requests("config"))
        for words in ("Second words", "Third words"):
            self.say_and_paste(words)
            self.assertFalse(fenlo.wait_for_entry(words)["synced"])
        self.assertEqual(len(backend.requests("config")), asked)

        # It answers again: what it missed comes with the next take.
        backend.behave()
        self.say_and_paste("Fourth words")
        wait_for(lambda: all(entry["synced"] for entry in fenlo.statistics()["history"]), "all entries at the service")
        self.assertTrue({"Second words", "Third words", "Fourth words"} <= set(self.previews()))
        self.assertNotIn("standin-groq-key", fenlo.errors())
