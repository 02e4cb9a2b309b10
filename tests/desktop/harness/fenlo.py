"""The program under test, as a process with a home of its own."""

import json
import os

from . import desktop, processes, screen
from .waiting import wait_for

HOTKEY = "Control_L"
PASTED = "[Fenlo] CGEvent paste OK"
OFFLINE_MODEL = "micro-whisper-espeak.en"  # comes with the program: it knows synthetic voices only

# What most tests are not about.
QUIET = {"play_sounds": False, "smart_rewrite": False}


class Fenlo:
    """Runs the program, against stand-in services where there are some, and reads its log and its files."""

    def __init__(
        self,
        program,
        folder,
        services,
        settings=None,
        environment=None,
        deployment=None,
        history=None,
        onboarded=True,
        signed_in=True,
    ):
        """A home that is not `onboarded` is bare: no settings, and the window of the first start comes. So it does where
        there is an account, with a user who is not `signed_in`."""
        self._program = program
        self.home = folder / "home"
        self.temporary = folder / "temporary"
        self.temporary.mkdir(exist_ok=True)
        self.log_file = self.home / ".local/state/fenlo/Fenlo.log"
        self._errors = open(folder / "fenlo.stderr", "a+")
        if onboarded:
            self._prepare_home(settings or {}, history or [])
        else:
            self.home.mkdir(exist_ok=True)
        deployment_file = folder / "deployment.json"
        values = {"offline_model": OFFLINE_MODEL}
        if services:
            values |= {f"{service}_host": services.address for service in ("groq", "gemini", "deepgram", "xai")}
        deployment_file.write_text(json.dumps({**values, **(deployment or {})}))
        self.environment = {
            **{name: value for name, value in os.environ.items() if not name.endswith("_API_KEY")},
            "HOME": str(self.home),
            "FENLO_DEPLOYMENT": str(deployment_file),
            "GROQ_API_KEY": "gsk_of_the_desktop_tests",
            "HF_ENDPOINT": "http://127.0.0.1:9",  # nobody answers there
            "TMPDIR": str(self.temporary),
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",  # as where a screen reader runs
            **(environment or {}),
        }
        for name in [name for name, value in self.environment.items() if value is None]:
            del self.environment[name]
        self._earlier_lines = len(self._whole_log())
        self.process = self._start()
        if not signed_in:
            self.wait_for("[Fenlo] Not authenticated — showing login")
        else:
            self.wait_for("[Fenlo] Ready." if onboarded else "[Fenlo] Showing onboarding")

    def forget(self):
        """Leaves out what the log has so far."""
        self._earlier_lines = len(self._whole_log())

    def log(self):
        """The lines of the log since this start, or since forget()."""
        return self._whole_log()[self._earlier_lines :]

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

    def settings(self):
        """What the settings file holds."""
        return json.loads((self.home / ".fenlo/config.json").read_text())

    def statistics(self):
        """What the statistics file holds."""
        return json.loads((self.home / ".fenlo/stats.json").read_text())

    def wait_for_entry(self, text, patience=15.0):
        """Waits until the newest entry of the history is this text, and returns it."""

        def newest():
            history = self.statistics()["history"] if (self.home / ".fenlo/stats.json").exists() else []
            return history[-1] if history and history[-1]["full_text"] == text else None

        return wait_for(newest, f"the entry {text!r} in the history", patience)

    def start_second(self):
        """Another start of the program by the same user; returns its exit code."""
        second = processes.start([self._program], env=self.environment, stdout=self._errors, stderr=self._errors)
        return second.wait(15)

    def open_home(self):
        """Opens the home window as a second start of the program does, and returns it."""
        if self.start_second() != 0:
            raise AssertionError(f"the second start failed: {self.errors()}")
        return screen.window(self.process.pid)

    def is_running(self):
        return self.process.poll() is None

    def errors(self):
        """What went to standard error, the log's lines included."""
        self._errors.seek(0)
        return self._errors.read()

    def close(self):
        processes.end(self.process)
        self._errors.close()

    def _whole_log(self):
        return self.log_file.read_text(errors="replace").splitlines() if self.log_file.exists() else []

    def _start(self):
        return processes.start([self._program], env=self.environment, stdout=self._errors, stderr=self._errors)

    def _prepare_home(self, settings, history):
        folder = self.home / ".fenlo"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / ".onboarded").touch()
        (folder / "config.json").write_text(json.dumps({**QUIET, **settings}))
        if history:
            (folder / "stats.json").write_text(json.dumps({"history": history}))
