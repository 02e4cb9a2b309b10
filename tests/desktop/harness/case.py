"""The base of the desktop tests."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

from . import desktop
from .fenlo import Fenlo
from .recogniser import Recogniser
from .sound import Clip
from .targets import Editor, Terminal

ANSWER = "The quick brown fox"


class DesktopCase(unittest.TestCase):
    """Gives each test a fresh program, recogniser and folder, on a desktop shared by the module."""

    settings = {}

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
        self.recogniser = Recogniser(os.environ["FENLO_SERVICES"], self.folder, ANSWER)
        self.addCleanup(self.recogniser.close)
        self.fenlo = None

    def tearDown(self):
        if self.fenlo and self._faults() > self._faults_before:
            self._tell_what_happened()

    def start_fenlo(self, settings=None, environment=None, **options):
        settings = {**self.settings, **(settings or {})}
        self.fenlo = Fenlo(os.environ["FENLO_PROGRAM"], self.folder, self.recogniser, settings, environment, **options)
        self.addCleanup(self.fenlo.close)
        return self.fenlo

    def open_editor(self, text=""):
        editor = Editor(self.folder, text)
        self.addCleanup(editor.close)
        return editor

    def open_terminal(self):
        terminal = Terminal(self.folder)
        self.addCleanup(terminal.close)
        return terminal

    def dictate_into(self, target, expected=ANSWER):
        """A whole take, judged by what the target shows."""
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for_paste(mark)
        target.wait_for_text(expected)

    def _faults(self):
        return len(self._result.failures) + len(self._result.errors)

    def _tell_what_happened(self):
        print(f"\n--- {self.id()}: the program's output\n{self.fenlo.errors()}---")
        if folder := os.environ.get("FENLO_SCREENSHOTS"):
            Path(folder).mkdir(parents=True, exist_ok=True)
            desktop.save_screenshot(Path(folder) / f"{self.id()}.png")
