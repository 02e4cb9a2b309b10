"""A newer release: looked for from the menu, shown, downloaded, verified and handed over; refused when it was tampered with."""

import os
import stat

from harness import desktop, screen
from harness.case import DesktopCase
from harness.updates import PackagedDesktop, UpdateServer
from harness.waiting import wait_for

LINE = "Check for Updates..."
TITLE = "Fenlo Updates"
NOTES = "- Faster <b>start</b>\n- Fewer & smaller files"


class Updates(DesktopCase):
    def setUp(self):
        super().setUp()
        self.panel = self.open_panel()

    def start_packaged(self):
        """The program with a server of updates, and as if it had come in a package."""
        self.server = UpdateServer(self.folder)
        self.addCleanup(self.server.close)
        self.system = PackagedDesktop(self.folder, os.environ["FENLO_PROGRAM"])
        self.start_fenlo(fresh=True, environment=self.system.environment, deployment=self.server.deployment)

    def look(self):
        self.panel.choose(LINE)
        return screen.window(self.fenlo.process.pid, TITLE)

    def wait_closed(self):
        wait_for(lambda: not screen.is_open(self.fenlo.process.pid, TITLE), "the window to close")

    def test_a_release_is_offered_verified_and_handed_over_and_a_false_one_is_not(self):
        self.start_packaged()
        self.server.publish("0.1.0", "Nothing")
        window = self.look()
        window.find("heading", "Fenlo 0.1.0 is the newest version.")
        desktop.press("Escape")
        self.wait_closed()

        path = self.server.publish("0.2.0", NOTES, megabytes=20)
        gate = self.server.stall(path)
        window = self.look()
        window.press_button("Install")
        window.find("progress bar", "Downloaded")
        window.find("label", "10.5 MB of…")
        window.press_button("Cancel")
        self.wait_closed()
        self.assertEqual(self.system.opened(), [])
        gate.set()

        # All by keys: what most will want has the keyboard.
        window = self.look()
        window.find("heading", "Fenlo 0.2.0 is available")
        lines = window.find("text", "What is new").text.splitlines()  # the toolkit has a line end of its own
        self.assertEqual(lines, NOTES.splitlines(), "as plain text")
        wait_for(lambda: window.find("push button", "Install").has("focused"), "the keyboard at the button")
        desktop.press("Return")
        window.find("heading", "Fenlo 0.2.0 is with your installer")
        [package] = wait_for(self.system.opened, "the installer")
        self.assertEqual(package.read_bytes(), self.server.pages[path])
        self.assertNotIn("_API_KEY", self.system.environment_of_installer())
        self.assertEqual(package.parent, self.fenlo.home / ".cache/fenlo/updates")
        self.assertEqual(stat.S_IMODE(package.parent.stat().st_mode), 0o700)
        window.find("push button", "Show in Folder")
        window.press_button("Close")
        self.wait_closed()

        # The same server, in other hands.
        path = self.server.publish("0.3.0", "Evil")
        good = self.server.pages[path]
        self.server.pages[path] = good[:-9] + b"tampered!"
        window = self.look()
        window.press_button("Install")
        window.find("alert", "The package is not the one that Fenlo's makers have signed…")
        self.assertEqual([file.suffix for file in package.parent.iterdir()], [])
        self.server.pages[path] = good
        window.press_button("Try Again")
        window.find("heading", "Fenlo 0.3.0 is with your installer")
        self.assertEqual([file.name[:11] for file in self.system.opened()], ["fenlo_0.2.0", "fenlo_0.3.0"])
        desktop.press("Escape")
        self.wait_closed()
        self.server.publish("0.2.1", "Older than what was verified")
        window = self.look()
        window.find("alert", "The update feed offers Fenlo 0.2.1, though it had 0.3.0 before…")
        window.press_button("Close")
        self.wait_closed()

        # Meanwhile dictation goes on, and looking once a day is the user's to allow.
        home = self.fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", "General").press()
        self.assertFalse(self.fenlo.settings()["check_for_updates"])
        home.scroll_to("Look for updates once a day")
        home.find("check box", "Look for updates once a day").press()
        wait_for(lambda: self.fenlo.settings()["check_for_updates"], "the setting in the file")

    def test_without_updates_there_is_nothing_to_choose(self):
        self.start_fenlo()
        self.panel.wait_for_line("Quit Fenlo")
        self.assertNotIn(LINE, self.panel.menu())
        home = self.fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", "General").press()
        page = home.find("panel", "General")
        page.scroll_to("Type every text instead of pasting")
        desktop.press("End")
        self.assertFalse(page.all("panel", "Updates"))
        self.assertFalse(page.all("check box", "Look for updates once a day"))
