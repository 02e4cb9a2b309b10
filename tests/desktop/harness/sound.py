"""The sound server of the virtual desktop, and speech into its microphone."""

import array
import cmath
import copy
import math
import os
import re
import signal
import wave
import zlib
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


class Listener:
    """Records what the loudspeaker plays."""

    RATE = 8000  # samples a second
    # A tone lasts a tenth of a second, and a busy machine tears gaps into it: it must not depend on where a block begins.
    _BLOCK = RATE // 40
    _STEP = _BLOCK // 2

    def __init__(self, folder):
        self._file = Path(folder) / "loudspeaker.raw"
        self._searched = {}  # samples of the recording that do not hold the frequency
        self._process = processes.start(
            ["parec", "--device=speaker.monitor", f"--rate={self.RATE}", "--channels=1", "--format=s16le",
             "--latency-msec=50", self._file]
        )  # fmt: skip
        wait_for(lambda: self._file.exists() and self._file.stat().st_size > 0, "the recording of the loudspeaker")

    def has_heard(self, frequency):
        """Whether a tone of this frequency, in hertz, has sounded so far."""
        recording = self._file.read_bytes()
        samples = array.array("h", recording[: len(recording) // 2 * 2])
        start = self._searched.get(frequency, 0)
        while start + self._BLOCK <= len(samples):
            if _is_tone(samples[start : start + self._BLOCK], frequency / self.RATE):
                return True
            start = self._searched[frequency] = start + self._STEP
        return False

    def close(self):
        processes.end(self._process)


def _is_tone(samples, cycles):
    """Whether most of the power lies at one frequency, in cycles a sample."""
    power = sum(sample * sample for sample in samples)
    if power < len(samples) * 100**2:
        return False
    turn = cmath.exp(-2j * math.pi * cycles)
    amplitude = 0
    for sample in samples:
        amplitude = amplitude * turn + sample
    return 2 * abs(amplitude) ** 2 / len(samples) > 0.6 * power


class Clip:
    """A spoken sentence as an audio file."""

    def __init__(self, words, folder, voice="en"):
        name = f"{words[:40]}-{zlib.crc32(words.encode())}-{voice}"  # file names have a limit
        self.file = Path(folder) / (re.sub(r"\W+", "-", name) + ".wav")
        if not self.file.exists():
            processes.output(["espeak-ng", "-v", voice, "-s", "160", "-w", str(self.file), words])
        self._measure()

    def followed_by(self, other, pause):
        """Both as one clip, with so many seconds of silence between them, however busy the machine is."""
        joined = copy.copy(self)
        joined.file = self.file.with_name(f"{self.file.stem}-{other.file.name}")
        with wave.open(str(self.file)) as first, wave.open(str(other.file)) as second:
            with wave.open(str(joined.file), "wb") as recording:
                recording.setparams(first.getparams())
                recording.writeframes(first.readframes(first.getnframes()))
                recording.writeframes(bytes(int(pause * first.getframerate()) * first.getsampwidth()))
                recording.writeframes(second.readframes(second.getnframes()))
        joined._measure()
        return joined

    def speak(self, latency=30, sink="micfeed"):
        """Speaks into the virtual microphone, or plays on another sink; returns when the last word is said.

        `latency` is how many milliseconds the sound server holds. With few, a busy machine tears gaps of some hundredths
        of a second into the words; with many, a take that begins meanwhile hears its first words late.
        """
        processes.output(["paplay", f"--device={sink}", f"--latency-msec={latency}", str(self.file)], patience=60)

    def _measure(self):
        with wave.open(str(self.file)) as recording:
            self.seconds = recording.getnframes() / recording.getframerate()
