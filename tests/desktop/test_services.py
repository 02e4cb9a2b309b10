"""The services' keys, the on-device models and the microphone, in the settings."""

import os
import subprocess
import time
from pathlib import Path

from harness import desktop, disk, pill, processes
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.hub import REPOSITORY, Hub
from harness.keyring import Keyring
from harness.sound import Clip
from harness.waiting import wait_for

WRONG, RIGHT = "gsk-wrong-4711", "gsk-right-4712"
MODEL = Path(__file__).parents[2] / "resources/models/micro-whisper-espeak.en"
NAME = "openai_whisper-small"
WORDS = "The quick brown fox jumps over the lazy dog near the riverbank"


class Section(DesktopCase):
    def open_section(self, name):
        home = self.fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", name).press()
        return home

    @staticmethod
    def wait_for_line(home, part, patience=15.0):
        """Waits until a control of the page says this."""

        def said():
            return next((node.name for node in home.nodes() if part in node.name), None)

        return wait_for(said, f"{part!r} in {home}", patience)

    @staticmethod
    def wait_enabled(home, name):
        return wait_for(
            lambda: next((node for node in home.all("push button", name) if node.is_usable), None),
            f"the button {name!r} in {home}",
        )


class Keys(Section):
    def test_a_key_is_entered_tested_used_and_removed(self):
        keyring = Keyring(self.folder)
        self.addCleanup(keyring.close)
        fenlo = self.start_fenlo(environment={"GROQ_API_KEY": None}, fresh=True)
        home = self.open_section("Services")
        self.wait_for_line(home, "No key")

        self.services.keys.misbehave("401")
        field = home.find("panel", "Groq").find("password text")
        self.assertEqual(field.description, "Key of Groq")
        self.type_key(field, WRONG)
        self.wait_enabled(home, "Save and test the key of Groq").press()
        self.wait_for_line(home, "Groq refuses this key.")
        self.assertNotIn(WRONG, field.text)
        self.assertEqual(self.services.keys.requests()[-1]["authorization"], f"Bearer {WRONG}")

        self.services.keys.answer("")
        self.type_key(field, RIGHT)
        desktop.press("Return")
        self.wait_for_line(home, "Groq accepts this key.")
        wait_for(lambda: not field.text, "the field to be empty")
        editor = self.open_editor()
        self.dictate_into(editor)
        self.assertEqual(self.recogniser.requests()[-1]["authorization"], f"Bearer {RIGHT}")

        for node in home.nodes():
            self.assertNotIn("gsk-", node.name)
        found = subprocess.run(["grep", "-rlaF", "gsk-", fenlo.home, fenlo.temporary], capture_output=True, text=True)
        self.assertEqual(found.stdout, "", "a key in a plain file")
        self.assertNotIn("gsk-", fenlo.errors())

        self.wait_enabled(home, "Remove the key of Groq").press()
        home.find("push button", "Remove Key").press()
        self.wait_for_line(home, "The key was removed.")
        heard = len(self.recogniser.requests())
        mark = fenlo.dictate(self.clip)
        fenlo.wait_for("[Fenlo] ERROR: ", mark)
        self.assertEqual(len(self.recogniser.requests()), heard, "the removed key was used")


    @staticmethod
    def type_key(field, key):
        field.focus()
        desktop.shortcut("a")
        desktop.type_text(key)


class Models(Section):
    def test_a_model_is_fetched_in_two_pieces_measured_and_dictated_with(self):
        hub, models = self.start_with_hub()
        home = self.open_section("Offline")
        self.wait_for_line(home, "Download of 19 MB")
        self.full_disk(home, models)

        self.begin_download(home, models)
        home.find("push button", "Cancel Whisper small").press()
        resume = self.wait_enabled(home, "Resume Whisper small")
        self.assertGreater(self.received(models), 5e6, "what was downloaded is kept")
        hub.resume()
        resume.press()
        self.wait_for_line(home, "It is ready to use.", patience=60)
        self.assertTrue((models / NAME / "TextDecoder").exists())

        self.wait_enabled(home, "Measure how fast Whisper small is").press()
        self.wait_for_line(home, "A short sentence takes", patience=60)

        switch = home.find("check box", "Offline mode")
        switch.focus()
        desktop.press("space")
        self.wait_for_line(home, "Using on-device transcription", patience=60)
        fenlo = self.fenlo
        settings = fenlo.settings()
        self.assertEqual((settings["offline_mode"], settings["language"]), (True, "en"))
        editor = self.open_editor()
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
            Clip(WORDS, self.folder, "en-us").speak(latency=500)
        fenlo.wait_for_paste(mark)
        editor.wait_for_text(WORDS)
        self.assertEqual(self.recogniser.requests(), [])

        self.wait_enabled(home, "Remove Whisper small").press()
        home.find("push button", "Remove Model").press()
        self.wait_for_line(home, "Turn offline mode off first.")
        self.assertTrue((models / NAME).exists())

    def test_a_disk_that_fills_on_the_way_is_told_and_the_download_goes_on_later(self):
        hub, models = self.start_with_hub()
        disk.mount_small(self, models, "200m")
        home = self.open_section("Offline")
        self.begin_download(home, models)
        filler = disk.fill(models)
        hub.resume()
        self.wait_for_line(home, "The disk is full: 11 MB more are needed; free some space and press Resume")
        self.assertEqual([node.name for node in home.all("push button", "Measure how fast Whisper small is")], [])
        for file in MODEL.iterdir():  # what has its name is whole
            fetched = models / NAME / file.name
            self.assertTrue(not fetched.exists() or fetched.read_bytes() == file.read_bytes(), file.name)

        kept = self.received(models) - filler.stat().st_size
        self.assertGreater(kept, 5e6, "what was downloaded is kept")
        filler.unlink()
        self.wait_enabled(home, "Resume Whisper small").press()
        self.wait_for_line(home, "It is ready to use.", patience=60)
        for name in ("model.safetensors", "tokenizer.json"):
            self.assertEqual((models / NAME / name).read_bytes(), (MODEL / name).read_bytes())

    def start_with_hub(self):
        """The program with a hub that stalls in the middle of a model. Returns the hub and the folder of models."""
        hub = Hub(os.environ["FENLO_HUB"], self.folder, MODEL, NAME, stall_after=6_000_000)
        self.addCleanup(hub.close)
        fenlo = self.start_fenlo(
            environment={"HF_ENDPOINT": hub.address},
            deployment={"offline_model": "small", "model_repository": REPOSITORY},
            fresh=True,
        )
        return hub, fenlo.home / ".fenlo/models"

    def begin_download(self, home, models):
        """Returns when the hub stalls."""
        self.wait_enabled(home, "Download Whisper small").press()
        self.wait_for_line(home, "of 19 MB")
        wait_for(lambda: self.received(models) > 5e6, "the bytes")

    @staticmethod
    def received(models):
        return sum(file.stat().st_size for file in models.rglob("*") if file.is_file())

    def full_disk(self, home, models):
        """Where a small disk can be made, a download is refused in one sentence and nothing is written."""
        if os.geteuid() != 0:
            return
        models.mkdir(exist_ok=True)
        processes.output(["mount", "-t", "tmpfs", "-o", "size=8m", "tmpfs", models])
        try:
            self.wait_enabled(home, "Download Whisper small").press()
            self.wait_for_line(home, "The disk is too full: this model needs")
            self.assertEqual([file for file in models.rglob("*") if file.is_file()], [])
        finally:
            processes.output(["umount", models])


class Microphones(Section):
    def test_another_microphone_is_chosen_and_lost(self):
        fenlo = self.start_fenlo(fresh=True)
        home = self.open_section("Microphone")
        module = processes.output(
            ["pactl", "load-module", "module-remap-source", f"master={self.master()}", "source_name=table",
             "source_properties=device.description=Table"]
        ).strip()  # fmt: skip
        self.wait_for_line(home, "Recording from ")
        home.choose("Microphone", "Table")
        self.wait_for_line(home, "Recording from Table")
        self.assertEqual(fenlo.settings()["mic_device"], "table")
        processes.output(["pactl", "unload-module", module])
        self.wait_for_line(home, "The chosen microphone is not connected;")
        self.dictate_into(self.open_editor())

    @staticmethod
    def master():
        return processes.output(["pactl", "get-default-source"]).strip()
