"""The user's browser: Chromium, which the desktop opens addresses with."""

import contextlib
import json
import os
import shutil
import urllib.request

from . import processes
from .devtools import Page
from .waiting import wait_for

_FIRST = "about:blank"
_QUIET = [
    "--no-first-run", "--no-default-browser-check", "--disable-gpu", "--disable-background-networking",
    "--disable-component-update", "--disable-sync", "--disable-extensions", "--password-store=basic",
    "--disable-features=Translate,MediaRouter,OptimizationHints", "--remote-debugging-port=0",
]  # fmt: skip


class Browser:
    """Runs from its making on, so that an address opens in a new tab. Programs that are started with `environment` have
    it as the desktop's browser."""

    def __init__(self, folder):
        self._profile = folder / "browser"
        command = ["chromium", *_QUIET, f"--user-data-dir={self._profile}"]
        if os.geteuid() == 0:
            command.append("--no-sandbox")  # which it insists on for the administrator
        data = folder / "browser-data"
        self._register(data / "applications", command)
        self.environment = {"XDG_DATA_HOME": str(data)}
        self._log = open(folder / "browser.log", "w")
        self._process = processes.start([*command, _FIRST], stdout=self._log, stderr=self._log)
        port_file = self._profile / "DevToolsActivePort"
        port = wait_for(lambda: port_file.exists() and port_file.read_text().split("\n")[0], "the browser", 60)
        self._address = f"http://127.0.0.1:{port}"
        wait_for(self.tabs, "the browser's first page", 60)

    def tabs(self):
        """What it shows, each with "title" and "url"; none when nobody answers."""
        try:
            with urllib.request.urlopen(self._address + "/json/list", timeout=5) as reply:
                return [tab for tab in json.load(reply) if tab["type"] == "page"]
        except OSError:
            return []

    def wait_for_page(self, title, besides=(), patience=30.0):
        """Waits until a tab has this title, but for those `besides`, and returns it."""
        known = [tab["id"] for tab in besides]

        def found():
            return next((tab for tab in self.tabs() if tab["title"] == title and tab["id"] not in known), None)

        try:
            return wait_for(found, f"the page {title!r}", patience)
        except AssertionError as fault:
            raise AssertionError(f"{fault}; the browser shows {[tab['title'] for tab in self.tabs()]}") from None

    def press(self, tab, button, **fields):
        """Fills in fields of the tab's form, and presses one of its buttons."""
        page = Page(tab["webSocketDebuggerUrl"])
        try:
            wait_for(lambda: page.evaluate("document.readyState") == "complete", "the page")
            for name, value in fields.items():
                page.evaluate(f"document.querySelector('input[name={name}]').value = {json.dumps(value)}")
            # The page may go before its answer comes, so the press is left to it.
            found = f"[...document.querySelectorAll('button')].find(one => one.textContent == {json.dumps(button)})"
            page.evaluate(f"setTimeout(() => {found}.click())")
        finally:
            page.close()

    def close_tabs(self):
        """All but the first, which keeps the browser open."""

        def are_closed():
            others = [tab for tab in self.tabs() if tab["url"] != _FIRST]
            for tab in others:  # once more where one that is loading was not; another has gone meanwhile
                with contextlib.suppress(OSError):
                    urllib.request.urlopen(f"{self._address}/json/close/{tab['id']}", timeout=5).close()
            return not others

        wait_for(are_closed, "the tabs to close")

    def close(self):
        processes.end(self._process)
        self._log.close()
        shutil.rmtree(self._profile, ignore_errors=True)

    @staticmethod
    def _register(applications, command):
        applications.mkdir(parents=True)
        entry = f"[Desktop Entry]\nType=Application\nName=Browser\nExec={' '.join(command)} %u\n"
        (applications / "browser.desktop").write_text(entry)
        handlers = "".join(f"x-scheme-handler/{scheme}=browser.desktop\n" for scheme in ("http", "https"))
        (applications / "mimeapps.list").write_text(f"[Default Applications]\n{handlers}")
