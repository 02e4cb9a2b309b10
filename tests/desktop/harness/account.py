"""The base of the desktop tests of the account: a browser, keyrings, and the service with both ways to sign in."""

import re
import socket

from . import desktop, screen
from .browser import Browser
from .case import DesktopCase
from .keyring import Keyring
from .services import NOTES, NOTES_PROMPT
from .waiting import wait_for

LOGIN = "Welcome to Fenlo"
GOOGLE, APPLE = "Sign in with Google", "Sign in with Apple"  # the pages' titles
SIGNED_IN, FAILED = "You are signed in", "Sign-in failed"


class AccountCase(DesktopCase):
    """Without any key of the user's own."""

    environment = {"GROQ_API_KEY": None}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.backend, cls.google, cls.apple = cls.services.backend, cls.services.google, cls.services.apple
        cls.browser = Browser(cls._place)
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        super().setUp()
        for service in (self.backend, self.google, self.apple):
            service.reset()
        self._keyrings = 0

    def start(self, **options):
        """The program with the account, in the home of this test's earlier start."""
        environment = {**self.browser.environment, **options.pop("environment", {})}
        return self.start_fenlo(deployment=self.services.deployment, environment=environment, fresh=True, **options)

    def another_machine(self):
        """A secure store and a home of their own from now on."""
        self._end_program()
        self.fenlo = None
        self._keyrings += 1
        folder = self.folder / f"machine-{self._keyrings}"
        folder.mkdir()
        self.addCleanup(Keyring(folder).close)

    def login(self):
        return screen.window(self.fenlo.process.pid, LOGIN)

    def begin(self, page):
        """Presses the button that leads to this page of the browser, and returns the page's tab."""
        open_already = self.browser.tabs()
        self.login().press_button(f"Continue with {page.split()[-1]}")
        return self.browser.wait_for_page(page, besides=open_already)

    def sign_in(self, page, **person):
        """Signs in at the login window, as the person whose name and e-mail are typed into the page."""
        mark = self.fenlo.mark()
        self.browser.press(self.begin(page), "Allow", **person)
        self.fenlo.wait_for("[Fenlo] Login success", mark)
        self.browser.wait_for_page(SIGNED_IN)
        self.browser.close_tabs()

    def sign_out(self):
        home = self.fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", "Account").press()
        home.press_button("Sign Out")
        home.find("dialog").press_button("Sign Out")
        self.login()

    def hold_meeting(self):
        """A meeting up to its notes, which stand in the home window that it returns."""
        self.gemini.answer(NOTES, prompts={NOTES_PROMPT: NOTES})
        home = self.fenlo.open_home()
        home.find("page tab", "Meeting").press()
        mark = self.fenlo.mark()
        home.fill("Topic", "Spring sale")
        desktop.press("Return")
        self.fenlo.wait_for("[Fenlo] Meeting mode started", mark)
        self.clip.speak(latency=500)
        self.fenlo.wait_for("[Fenlo] Meeting segment", mark)
        self.recogniser.answer("")  # what comes of the silence until the stop
        home.press_button("Stop Meeting")
        home.find("heading", "Plans for the spring sale", patience=30)
        return home

    def wait_port_free(self):
        """Waits until the program waits no more for the browser that was opened last."""
        target = self.google.requests("auth")[-1]["target"]
        port = int(re.search(r"redirect_uri=http(?:%3A|:)(?:%2F|/){2}localhost(?:%3A|:)(\d+)", target).group(1))

        def is_free():
            with socket.socket() as probe:
                return probe.connect_ex(("127.0.0.1", port)) != 0

        wait_for(is_free, f"the port {port} to be free again")
