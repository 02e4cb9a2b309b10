"""The program under test, as a process with a home of its own."""

import json
import os

from . import desktop, processes
from .waiting import wait_for

HOTKEY = "Control_L"
PASTED = "[Fenlo] CGEvent paste OK"
OFFLINE_MODEL = "micro-whisper-espeak.en"  # comes with the program: it knows synthetic voices only


class Fenlo:
    """Runs the program, against a recogniser where there is one, and reads its log."""

    def __init__(self, program, folder, recogniser, settings=None, environment=None, offline_model=OFFLINE_MODEL):
        self._program = program
        self.home = folder / "home"
        self.log_file = self.home / ".local/state/fenlo/Fenlo.log"
        self._errors = open(folder / "fenlo.stderr", "a+")
        self._prepare_home(settings or {})
        deployment = folder / "deployment.json"
        values = {"offline_model": offline_model}
        if recogniser:
            values["groq_host"] = recogniser.address
        deployment.write_text(json.dumps(values))
        self.environment = {
            **os.environ,
            "HOME": str(self.home),
            "FENLO_DEPLOYMENT": str(deployment),
            "GROQ_API_KEY": "gsk_of_the_desktop_tests",
            "HF_ENDPOINT": "http://127.0.0.1:9",  # nobody answers there
            **(environment or {}),
        }
        self.process = self._start()
        self.wait_for("[Fenlo] Ready.")

    def log(self):
        """The lines of the log so far."""
        return self.log_file.read_text(errors="replace").splitlines() if self.log_file.exists() else []

    def mark(self):
        """A place in the log, to look only at what comes after it."""
        return len(self.log())

    def lines(self, beginning, since=0):
        return [line for line in self.log()[since:] if line.startswith(beginning)]

    def wait_for(self, beginning, since=0, count=1, patience=15.0):
        """Waits for lines with this beginning and returns the last of them."""

        def found():
            if self.process.poll() is not None:
                raise AssertionError(f"the program ended with {self.process.returncode}: {self.errors()}")
            lines = self.lines(beginning, since)
            return lines if len(lines) >= count else None

        return wait_for(found, f"the log line {beginning!r}", patience)[-1]

    def dictate(self, clip, key=HOTKEY):
        """Holds the hotkey while the clip is spoken. Returns the place in the log where the take began."""
        mark = self.mark()
        with desktop.held(key):
            clip.speak()
        return mark

    def wait_for_paste(self, since):
        self.wait_for(PASTED, since)

    def start_second(self):
        """Another start of the program by the same user; returns its exit code."""
        second = processes.start([self._program], env=self.environment, stdout=self._errors, stderr=self._errors)
        return second.wait(15)

    def is_running(self):
        return self.process.poll() is None

    def errors(self):
        """What went to standard error, the log's lines included."""
        self._errors.seek(0)
        return self._errors.read()

    def close(self):
        processes.end(self.process)
        self._errors.close()

    def _start(self):
        return processes.start([self._program], env=self.environment, stdout=self._errors, stderr=self._errors)

    def _prepare_home(self, settings):
        folder = self.home / ".fenlo"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / ".onboarded").touch()
        (folder / "config.json").write_text(json.dumps({"play_sounds": False, **settings}))
