"""The base of the desktop tests."""

import contextlib
import os
import shutil
import tempfile
import unittest
from pathlib import Path

from . import desktop, pill, processes, sway
from .fenlo import HOTKEY, Fenlo
from .keyboard import Keyboard
from .panel import Panel
from .services import Services
from .sound import Clip
from .targets import Editor, Notice, Terminal
from .waiting import wait_for

ANSWER = "The quick brown fox"


class DesktopCase(unittest.TestCase):
    """Gives each test a folder and what it starts, on a desktop shared by the module.

    The services, and the program while it is wanted with the same settings, go on from test to test of a class; what a
    test reads of requests and of the log begins with the test.
    """

    spoken = "Hello there"  # short: the stand-in answers what the test wants, whatever it hears
    settings = {}
    environment = {}
    save_screenshot = staticmethod(desktop.save_screenshot)

    @classmethod
    def setUpClass(cls):
        cls._clips = tempfile.mkdtemp(prefix="clips-")
        cls.addClassCleanup(shutil.rmtree, cls._clips)
        cls.clip = Clip(cls.spoken, cls._clips)
        cls._place = Path(tempfile.mkdtemp(prefix="program-"))
        cls.addClassCleanup(shutil.rmtree, cls._place, ignore_errors=True)
        cls.services = Services(os.environ["FENLO_SERVICES"], cls._place, ANSWER)
        cls.addClassCleanup(cls.services.close)
        cls.recogniser, cls.gemini, cls.groq = cls.services.speech, cls.services.gemini, cls.services.groq
        cls._running = None
        cls.addClassCleanup(cls._end_program)

    @classmethod
    def _end_program(cls):
        if cls._running:
            cls._running[0].close()
            cls._running = None

    def run(self, result=None):
        self._result = result
        return super().run(result)

    def setUp(self):
        self._faults_before = self._faults()
        self.folder = Path(tempfile.mkdtemp(prefix="take-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.services.forget()
        for service in (self.recogniser, self.gemini, self.groq):
            service.answer(ANSWER)
        self.fenlo = None

    def tearDown(self):
        if self.fenlo:
            complaints = [line for line in self.fenlo.errors().splitlines() if "qrc:/" in line]
            self.assertFalse(complaints, "the screens' own complaints")
        if self.fenlo and self._faults() > self._faults_before:
            self._tell_what_happened()
            self._end_program()

    def start_fenlo(self, settings=None, environment=None, fresh=False, **options):
        """The program with these settings: the one of the test before if it runs with the same and `fresh` is not set.
        Otherwise a new one, with a new home unless this test has started one already."""
        wanted = {"settings": {**self.settings, **(settings or {})}, **options}
        wanted["environment"] = {**self.environment, **(environment or {})}
        cls = type(self)
        if cls._running and not fresh and not self.fenlo and cls._running[1] == wanted and cls._running[0].is_running():
            self.fenlo = cls._running[0]
            self.fenlo.forget()
            return self.fenlo
        self._end_program()
        if not self.fenlo:
            self._home = Path(tempfile.mkdtemp(dir=self._place))
        self.fenlo = Fenlo(os.environ["FENLO_PROGRAM"], self._home, self.services, **wanted)
        cls._running = (self.fenlo, wanted)
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

    def command(self, words, sees=""):
        """A take that a tap on Space turns into an instruction of these words.

        It begins once the program sees this of the field with the cursor, such as "existing=6chars": the editor of a busy
        machine may answer later than the program waits.
        """
        self.recogniser.answer(words)
        mark, hold = wait_for(lambda: self._begun(sees), f"a take that sees {sees!r}")
        with hold:
            self.fenlo.wait_for("[Fenlo] Recording at", mark)
            desktop.press("space")
            self.fenlo.wait_for("[Fenlo] Switched to AI command mode", mark)
            wait_for(lambda: pill.dot() == pill.COMMAND, "the pill in the colour of commands")
            self.clip.speak()
        return mark

    def _begun(self, sees):
        """Holds the hotkey, and lets go of it again where the program does not see this. Returns the place in the log where
        the take began, and what lets go of the key at its end."""
        mark = self.fenlo.mark()
        with contextlib.ExitStack() as hold:
            hold.enter_context(desktop.held(HOTKEY))
            if sees in self.fenlo.wait_for("[Fenlo] Context:", mark):
                return mark, hold.pop_all()
        self.fenlo.wait_for("[Fenlo] Hotkey released", mark)
        return None

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
            self.save_screenshot(Path(folder) / f"{self.id()}.png")


class WaylandCase(DesktopCase):
    """On a Wayland desktop, with a keyboard; takes are begun and ended by the compositor's own shortcuts."""

    spoken = "The quick brown fox jumps over the dog"  # a busy machine adds silence before and after
    save_screenshot = staticmethod(sway.save_screenshot)

    def setUp(self):
        super().setUp()
        self.keyboard = Keyboard()
        self.addCleanup(self.keyboard.close)

    def trigger(self, word):
        processes.output([Path(os.environ["FENLO_PROGRAM"]).with_name("fenlo-trigger"), word], env=self.fenlo.environment)

    def open(self, client, *arguments):
        opened = client(self.folder, *arguments)
        self.addCleanup(opened.close)
        return opened

    def press(self, client=None):
        """The take that the compositor's own shortcut begins, once the program sees this client in front: on a busy
        machine it hears of a new window late. Returns the place in the log where the take began."""
        sees = client.application.lower() if client else ""

        def begun():
            mark = self.fenlo.mark()
            self.trigger("press")
            if sees in self.fenlo.wait_for("[Fenlo] Context:", mark).lower():
                return [mark]
            self.trigger("cancel")
            self.trigger("release")
            return None

        [mark] = wait_for(begun, f"a take that sees {sees!r}")
        self.fenlo.wait_for("[Fenlo] Recording at", mark)
        return mark


class RewritingCase(DesktopCase):
    """With language models, Gemini first and Groq after it."""

    settings = {"smart_rewrite": True, "smart_rewrite_model": "auto"}
    environment = {"GEMINI_API_KEY": "gemini_of_the_desktop_tests"}
