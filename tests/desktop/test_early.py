"""What happens to a long take while the user still speaks: where the user allows it, its chunks go to the service."""

import os
import threading
import time
import unittest
import wave

from harness import desktop, pill, processes
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for

CHUNK = 241  # seconds of sound after which a chunk is cut
HASTE = 20  # times as fast as people speak


class HastyMicrophone:
    """A microphone that hears speech as fast as it is written into a pipe."""

    def __init__(self, folder, clip):
        self._pipe = folder / "microphone"
        with wave.open(str(clip.file)) as recording:
            self._rate = recording.getframerate()
            self._speech = recording.readframes(recording.getnframes())
        self._module = processes.output(
            ["pactl", "load-module", "module-pipe-source", "source_name=hasty", f"file={self._pipe}", "format=s16le",
             f"rate={self._rate}", "channels=1"]
        ).strip()  # fmt: skip
        self._file = os.open(self._pipe, os.O_WRONLY | os.O_NONBLOCK)
        self._stops = threading.Event()
        self._left = 0  # bytes of speech to come; then it is silent, at the pace of people
        self._writer = threading.Thread(target=self._write)
        self._writer.start()

    def speak(self, seconds):
        self._left = 2 * int(seconds * self._rate)
        wait_for(lambda: self._left <= 0, "the end of the speech", patience=120)

    def close(self):
        self._stops.set()
        self._writer.join()
        os.close(self._file)
        processes.output(["pactl", "unload-module", self._module])

    def _write(self):
        step = self._rate // 20 * 2  # bytes of a twentieth of a second
        place = 0
        while not self._stops.is_set():
            speaks = self._left > 0
            if not speaks:
                self._put(bytes(step))
            elif self._put((self._speech + self._speech)[place : place + step]):
                place = (place + step) % len(self._speech)
                self._left -= step
            time.sleep(0.05 / (HASTE if speaks else 1))

    def _put(self, sound):
        """Whether it went into the pipe, which the sound server empties only while somebody records."""
        try:
            return os.write(self._file, sound) == len(sound)
        except BlockingIOError:
            return False


class LongTakes(DesktopCase):
    spoken = "The morning was cold and the river was quiet, and I read on until I was done"
    settings = {"mic_device": "hasty"}

    def setUp(self):
        super().setUp()
        self.microphone = HastyMicrophone(self.folder, self.clip)
        self.addCleanup(self.microphone.close)

    def test_a_chunk_is_uploaded_before_the_release_if_the_user_allows_it(self):
        fenlo = self.start_fenlo({"upload_while_speaking": True})
        editor = self.open_editor()
        self.recogniser.answer("It was cold")
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            self._speak_to_the_cut()
            [first] = wait_for(self.recogniser.requests, "the upload of the first chunk")
            self.assertTrue(first["warm"], "the connection was not open when the upload began")
            fenlo.wait_for("[Fenlo] Groq responded", mark)
            self.assertFalse(fenlo.lines("[Fenlo] Hotkey released", mark))
            self.recogniser.answer("and quiet")
            self.microphone.speak(2)
        fenlo.wait_for_paste(mark)
        editor.wait_for_text("It was cold And quiet")
        _, second = self.recogniser.requests()
        self.assertEqual(second["fields"]["prompt"], "It was cold")
        self.assertEqual(len(fenlo.lines("[Fenlo] The chunk was uploaded before the end", mark)), 1)
        self.assertEqual(list(fenlo.temporary.iterdir()), [])

    def test_without_that_nothing_leaves_before_the_release(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        self.recogniser.answer("It was cold")
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            self._speak_to_the_cut()
            time.sleep(2)
            self.assertEqual(self.recogniser.requests(), [])
            self.microphone.speak(2)
        fenlo.wait_for_paste(mark)
        editor.wait_for_text("It was cold It was cold")
        self.assertEqual(len(self.recogniser.requests()), 2)

    def _speak_to_the_cut(self):
        mark = self.fenlo.mark()
        wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
        self.microphone.speak(CHUNK)
        self.fenlo.wait_for("[Fenlo] Flushed chunk 1", mark)


if __name__ == "__main__":
    unittest.main()
