"""A desktop that lacks something, loses something, or has the program twice."""

import subprocess
import time
import unittest

from harness import desktop, processes, sound
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.waiting import wait_for

NOBODY = "unix:path=/nonexistent"
PREPARED_CLIP_RATE = 16000 * 2  # bytes a second


class Surroundings(DesktopCase):
    spoken = "The quick brown fox"  # long enough to tell a lost part

    def test_no_buses(self):
        self.start_fenlo(environment={"AT_SPI_BUS_ADDRESS": NOBODY, "DBUS_SESSION_BUS_ADDRESS": NOBODY})
        self.dictate_into(self.open_editor())

    def test_restart_during_a_take_loses_no_words(self):
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        mark = fenlo.mark()
        with desktop.held(HOTKEY):
            self.clip.speak()
            sound.kill_server()
            sound.start_server(subprocess.DEVNULL)
            wait_for(lambda: fenlo.process.pid in sound.recorders(), "the microphone to be open again")
            self.clip.speak()
        fenlo.wait_for_paste(mark)
        editor.wait_for_text("The quick brown fox")
        [request] = self.recogniser.requests()
        self.assertGreater(request["audio"]["bytes"], 1.6 * self.clip.seconds * PREPARED_CLIP_RATE)

    def test_server_that_comes_later(self):
        sound.kill_server()
        fenlo = self.start_fenlo(fresh=True)
        editor = self.open_editor()
        desktop.press(HOTKEY)
        fenlo.wait_for("[Fenlo] Hotkey released")
        sound.start_server(subprocess.DEVNULL)
        fenlo.wait_for("[Fenlo] Audio engine prepared")
        self.dictate_into(editor)

    def test_second_start_leaves_the_first_alone(self):
        fenlo = self.start_fenlo()
        mark = fenlo.mark()
        fenlo.start_second()
        fenlo.wait_for("[Fenlo] Another instance is already running. Exiting.", mark)
        self.dictate_into(self.open_editor())

    def test_end_of_the_x_server_is_told_in_one_line(self):
        # Without -noreset it would begin anew after its first client, the program's own look at the display, has gone.
        command = ["Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-noreset"]
        screen = processes.start(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(screen.stdout.close)
        self.addCleanup(processes.end, screen)
        fenlo = self.start_fenlo(environment={"DISPLAY": ":" + screen.stdout.readline().strip()})
        screen.kill()
        self.assertEqual(fenlo.process.wait(15), 1)
        told = "[Fenlo] ERROR: The connection to the X server is lost"
        self.assertEqual([line for line in fenlo.errors().splitlines() if "X server" in line or "X11" in line], [told])
        self.assertEqual(fenlo.lines(told), [told])

    def test_termination_while_the_recogniser_hangs(self):
        fenlo = self.start_fenlo()
        self.open_editor()
        self.recogniser.misbehave("hang")
        fenlo.wait_for("[Fenlo] Uploading", fenlo.dictate(self.clip))
        started = time.monotonic()
        fenlo.process.terminate()
        self.assertEqual(fenlo.process.wait(15), 0)
        self.assertLess(time.monotonic() - started, 1.0)


if __name__ == "__main__":
    unittest.main()
