"""The base of the desktop tests."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

from . import desktop
from .fenlo import HOTKEY, Fenlo
from .panel import Panel
from .services import Services
from .sound import Clip
from .targets import Editor, Notice, Terminal

ANSWER = "The quick brown fox"


class DesktopCase(unittest.TestCase):
    """Gives each test fresh services and a folder, and what it starts, on a desktop shared by the module."""

    settings = {}
    environment = {}

    @classmethod
    def setUpClass(cls):
        cls._clips = tempfile.mkdtemp(prefix="clips-")
        cls.addClassCleanup(shutil.rmtree, cls._clips)
        cls.clip = Clip("The quick brown fox", cls._clips)

    def run(self, result=None):
        self._result = result
        return super().run(result)

    def setUp(self):
        self._faults_before = self._faults()
        self.folder = Path(tempfile.mkdtemp(prefix="take-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.services = Services(os.environ["FENLO_SERVICES"], self.folder, ANSWER)
        self.addCleanup(self.services.close)
        self.recogniser, self.gemini, self.groq = self.services.speech, self.services.gemini, self.services.groq
        self.fenlo = None

    def tearDown(self):
        if self.fenlo and self._faults() > self._faults_before:
            self._tell_what_happened()

    def start_fenlo(self, settings=None, environment=None, **options):
        settings = {**self.settings, **(settings or {})}
        environment = {**self.environment, **(environment or {})}
        self.fenlo = Fenlo(os.environ["FENLO_PROGRAM"], self.folder, self.services, settings, environment, **options)
        self.addCleanup(self.fenlo.close)
        return self.fenlo

    def open_editor(self, text="", name="mousepad"):
        editor = Editor(self.folder, text, name)
        self.addCleanup(editor.close)
        return editor

    def open_terminal(self):
        terminal = Terminal(self.folder)
        self.addCleanup(terminal.close)
        return terminal

    def open_notice(self):
        notice = Notice()
        self.addCleanup(notice.close)
        return notice

    def say(self, words):
        """A whole take in which the recogniser hears these words. Returns the place in the log where it began."""
        self.recogniser.answer(words)
        return self.fenlo.dictate(self.clip)

    def say_and_paste(self, words):
        """A take that ends in a paste, whatever it pastes."""
        mark = self.say(words)
        self.fenlo.wait_for_paste(mark)
        return mark

    def command(self, words):
        """A take that a tap on Space turns into an instruction of these words."""
        self.recogniser.answer(words)
        mark = self.fenlo.mark()
        with desktop.held(HOTKEY):
            self.fenlo.wait_for("[Fenlo] Recording at", mark)
            desktop.press("space")
            self.fenlo.wait_for("[Fenlo] Switched to AI command mode", mark)
            self.clip.speak()
        return mark

    def dictate_into(self, target, expected=ANSWER):
        """A whole take, judged by what the target shows."""
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for_paste(mark)
        target.wait_for_text(expected)

    def open_panel(self):
        panel = Panel()
        self.addCleanup(panel.close)
        return panel

    def _faults(self):
        return len(self._result.failures) + len(self._result.errors)

    def _tell_what_happened(self):
        print(f"\n--- {self.id()}: the program's output\n{self.fenlo.errors()}---")
        if folder := os.environ.get("FENLO_SCREENSHOTS"):
            Path(folder).mkdir(parents=True, exist_ok=True)
            desktop.save_screenshot(Path(folder) / f"{self.id()}.png")


class RewritingCase(DesktopCase):
    """With language models, Gemini first and Groq after it."""

    settings = {"smart_rewrite": True, "smart_rewrite_model": "auto"}
    environment = {"GEMINI_API_KEY": "gemini_of_the_desktop_tests"}
