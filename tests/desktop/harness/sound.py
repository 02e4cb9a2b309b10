"""The sound server of the virtual desktop, and speech into its microphone."""

import os
import re
import signal
import wave
from pathlib import Path

from . import processes
from .waiting import wait_for

_SETUP = Path(__file__).with_name("sound.pa")


def start_server(log):
    """Starts the sound server of this session and returns once the microphone is there."""
    server = processes.start(
        ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "-F", _SETUP], stdout=log, stderr=log
    )
    wait_for(lambda: processes.succeeds(["pactl", "get-source-volume", "virtmic"]), "the virtual microphone")
    return server


def kill_server():
    """Ends the session's sound server the hard way, as a crash would."""
    pid_file = Path(os.environ["XDG_RUNTIME_DIR"], "pulse", "pid")
    os.kill(int(pid_file.read_text()), signal.SIGKILL)
    pid_file.unlink()  # the dead server may stay a zombie, which its successor would take for a running one
    wait_for(lambda: not processes.succeeds(["pactl", "info"]), "the sound server's end")


def recorders():
    """Process ids that record from a microphone at this moment."""
    listing = processes.output(["pactl", "list", "source-outputs"])
    return {int(pid) for pid in re.findall(r'application\.process\.id = "(\d+)"', listing)}


class Clip:
    """A spoken sentence as an audio file."""

    def __init__(self, words, folder, voice="en"):
        self.file = Path(folder) / (re.sub(r"\W+", "-", words + voice) + ".wav")
        if not self.file.exists():
            processes.output(["espeak-ng", "-v", voice, "-s", "160", "-w", str(self.file), words])
        with wave.open(str(self.file)) as recording:
            self.seconds = recording.getnframes() / recording.getframerate()

    def speak(self):
        """Speaks into the virtual microphone; returns when the last word is said."""
        processes.output(["paplay", "--device=micfeed", "--latency-msec=30", str(self.file)], patience=60)
