"""Takes whose words did not arrive: why, where they are kept, and how they arrive after all."""

import tempfile
import unittest
from pathlib import Path

from harness import desktop, disk, pill
from harness.case import ANSWER, DesktopCase
from harness.fenlo import HOTKEY, OFFLINE_MODEL, PASTED
from harness.waiting import wait_for

TRY_AGAIN = "Try Again: last take"
KEPT = "[Fenlo] The take is kept in"


class KeptTakes(DesktopCase):
    spoken = "The quick brown fox"  # longer than what a running take lacks on the disk

    def setUp(self):
        super().setUp()
        self.panel = self.open_panel()

    def test_a_refused_take_is_kept_and_arrives_when_it_is_tried_again(self):
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        self.recogniser.misbehave("401")
        fenlo.wait_for(KEPT, fenlo.dictate(self.clip))
        wait_for(lambda: pill.dot() == pill.RECORDING, "the reason on the pill")
        self.panel.wait_for_line(TRY_AGAIN)
        self.assertEqual(self.panel.menu()[0], "Key refused")
        self.assertEqual(self._temporary(), [])
        self.assertEqual({path.stat().st_mode & 0o777 for path in self._kept()}, {0o600})
        self.assertEqual((fenlo.home / ".fenlo/takes").stat().st_mode & 0o777, 0o700)
        wait_for(lambda: pill.dot() is None, "the pill to go")

        self._try_again_into(editor)
        self.assertNotIn("Key refused", self.panel.menu())
        self.assertEqual(len(fenlo.statistics()["history"]), 1)

    def test_killed_while_the_recogniser_hangs_and_kept_on_another_disk(self):
        self.recogniser.misbehave("hang")
        with tempfile.TemporaryDirectory(dir="/dev/shm") as memory:
            environment = {"TMPDIR": memory}
            fenlo = self.start_fenlo(environment=environment)
            fenlo.wait_for("[Fenlo] Uploading", fenlo.dictate(self.clip))
            fenlo.process.kill()
            fenlo.process.wait()
            self.assertEqual(len(self._temporary(memory)), 2, "the recording and the clip of the upload")
            fenlo = self.start_fenlo(environment=environment)
            fenlo.wait_for(KEPT)
            self.assertEqual([name for name in self._temporary(memory) if "fenlo_pre" not in name], [])
            self._try_again_into(self.open_editor())

    def test_killed_while_somebody_speaks(self):
        with tempfile.TemporaryDirectory() as temporary:
            environment = {"TMPDIR": temporary}
            fenlo = self.start_fenlo(environment=environment)
            with desktop.held(HOTKEY):
                self.clip.speak()
                wait_for(lambda: self._temporary(temporary), "the copy of the running take")
                fenlo.process.kill()
                fenlo.process.wait()
            fenlo = self.start_fenlo(environment=environment)
            fenlo.wait_for(KEPT)
            self.assertEqual(self._temporary(temporary), [])
            self._try_again_into(self.open_editor())

    def test_what_is_recorded_or_under_way_when_the_program_ends_waits_for_the_next_start(self):
        fenlo = self.start_fenlo(fresh=True)
        with desktop.held(HOTKEY):
            self.clip.speak()
            fenlo.process.terminate()
            self.assertEqual(fenlo.process.wait(5), 0)
        self.assertEqual(len(self._kept()), 2)
        self.recogniser.misbehave("hang")
        fenlo = self.start_fenlo()
        fenlo.wait_for("[Fenlo] Uploading", fenlo.dictate(self.clip))
        fenlo.process.terminate()
        self.assertEqual(fenlo.process.wait(5), 0)
        self.assertEqual(self._temporary(), [])
        self.assertEqual(len(self._kept()), 4)
        self.start_fenlo()
        editor = self.open_editor()
        self.recogniser.answer("One")
        self.panel.choose(TRY_AGAIN)
        editor.wait_for_text("One")
        wait_for(lambda: len(self._kept()) == 2, "the first take to remain")
        self.recogniser.answer("Two")
        self.panel.choose(TRY_AGAIN)
        editor.wait_for_text("OneTwo")
        wait_for(lambda: not self._kept(), "the kept takes to go")

    def test_the_installed_model_rescues_the_take(self):
        fenlo = self.start_fenlo({"offline_mode": True})
        fenlo.wait_for(f"[Fenlo] LocalTranscriber: Ready ({OFFLINE_MODEL})", patience=60)
        fenlo.close()
        fenlo = self.start_fenlo({"offline_mode": False})
        self.recogniser.misbehave("500")
        editor = self.open_editor()
        fenlo.wait_for(PASTED, fenlo.dictate(self.clip), patience=60)
        wait_for(lambda: editor.text(), "words of the engine on this machine")
        self.assertEqual(self._kept(), [])

    def test_a_full_temporary_folder_loses_nothing(self):
        full = self.folder / "full"
        disk.mount_small(self, full, "4k")
        disk.fill(full)
        fenlo = self.start_fenlo(environment={"TMPDIR": str(full)})
        self.dictate_into(self.open_editor())
        wait_for(lambda: not self._kept(), "the recording to go")

    def test_without_a_sound_server_the_pill_says_so_while_the_key_is_held(self):
        fenlo = self.start_fenlo(environment={"PULSE_SERVER": "unix:/nowhere"})
        with desktop.held(HOTKEY):
            self.panel.wait_for_line("No sound server")
            wait_for(lambda: pill.dot() == pill.RECORDING, "the reason on the pill")
        fenlo.wait_for("[Fenlo] ERROR: The take came to no words: No sound server")

    def _try_again_into(self, editor):
        editor.activate()
        self.recogniser.answer(ANSWER)
        self.panel.choose(TRY_AGAIN)
        editor.wait_for_text(ANSWER)
        wait_for(lambda: TRY_AGAIN not in self.panel.menu(), "the offer to go")
        wait_for(lambda: not self._kept(), "the kept take to go")

    def _kept(self):
        folder = self.fenlo.home / ".fenlo/takes"
        return list(folder.iterdir()) if folder.exists() else []

    def _temporary(self, folder=None):
        return [path.name for path in Path(folder or self.fenlo.temporary).iterdir() if path.suffix == ".wav"]


if __name__ == "__main__":
    unittest.main()
