"""The sound of a meeting: both sides of a call, through changes of the devices, a crash of the sound server and the sleep."""

import subprocess
import unittest

from harness import processes, sound
from harness.case import DesktopCase
from harness.fenlo import OFFLINE_MODEL
from harness.login import LoginManager
from harness.sound import Clip
from harness.waiting import wait_for

READY = f"[Fenlo] LocalTranscriber: Ready ({OFFLINE_MODEL})"
LOUDSPEAKER = "speaker"


class SoundOfAMeeting(DesktopCase):
    settings = {"offline_mode": True}

    def setUp(self):
        super().setUp()
        self.near = Clip("The quick brown fox jumps over the lazy dog near the riverbank", self.folder, "en-us")
        self.far = Clip("I know the update is ready", self.folder, "en-us+m5")

    def hear(self, clip, sink, word):
        """The clip sounds, and one of its words is in a segment that comes after it. Returns the segment's line."""
        mark = self.fenlo.mark()
        clip.speak(latency=500, sink=sink)

        def segment():
            lines = self.fenlo.lines("[Fenlo] Meeting segment", mark)
            return next((line for line in lines if word in line), None)

        return wait_for(segment, f"a segment with {word!r}", 40)

    def start_meeting(self, home):
        mark = self.fenlo.mark()
        home.find("push button", "Start Meeting").press()
        self.fenlo.wait_for("[Fenlo] System audio capture started", mark)

    def test_both_sides_are_heard_until_the_lid_closes(self):
        manager = LoginManager()
        self.addCleanup(manager.close)
        fenlo = self.start_fenlo(environment=LoginManager.environment())
        fenlo.wait_for(READY, patience=60)
        home = fenlo.open_home()
        home.find("page tab", "Meeting").press()
        home.find("check box", "Capture system audio").press()
        self.start_meeting(home)

        self.hear(self.near, "micfeed", "fox")
        self.hear(self.far, LOUDSPEAKER, "update")
        mark = fenlo.mark()
        processes.output(["pactl", "load-module", "module-null-sink", "sink_name=headset", "norewinds=1"])
        processes.output(["pactl", "set-default-sink", "headset"])
        fenlo.wait_for("[Fenlo] System audio comes from headset.monitor", mark)
        self.hear(self.far, "headset", "update")

        mark = fenlo.mark()
        sound.kill_server()
        sound.start_server(subprocess.DEVNULL)
        fenlo.wait_for(f"[Fenlo] System audio comes from {LOUDSPEAKER}.monitor", mark)
        self.hear(self.far, LOUDSPEAKER, "update")
        self.hear(self.near, "micfeed", "fox")

        seconds = manager.sleep()
        self.assertLess(seconds, 2)
        self.assertTrue(fenlo.lines("[Fenlo] Meeting mode stopped"), "the machine slept with the meeting running")
        [archived] = (fenlo.home / ".fenlo/meetings").glob("*.md")
        saved = archived.read_text()
        self.assertEqual(saved.count("update"), 3, saved)
        self.assertEqual(saved.count("fox"), 2, saved)
        wait_for(lambda: not sound.recorders(), "both recordings to end")
        manager.wake()

        home.press_button("New Meeting")
        self.start_meeting(home)
        self.hear(self.near, "micfeed", "fox")
        home.press_button("Stop Meeting")
        fenlo.wait_for("[Fenlo] Meeting mode stopped", count=2)

        # Without a loudspeaker the microphone is recorded alone, and the screen says so.
        processes.output(["pactl", "load-module", "module-sine-source", "source_name=hum"])
        processes.output(["pactl", "set-default-source", "hum"])
        processes.output(["pactl", "unload-module", "module-null-sink"])
        home.press_button("New Meeting")
        home.press_button("Start Meeting")
        home.find("alert", "The computer's sound is not recorded: there is no output device")
        home.press_button("Stop Meeting")
        fenlo.wait_for("[Fenlo] Meeting mode stopped", count=3)


if __name__ == "__main__":
    unittest.main()
