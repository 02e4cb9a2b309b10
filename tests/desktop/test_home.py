"""The home window: opened and closed, by keyboard alone, every page of it."""

import os
import shutil
from pathlib import Path

from harness import desktop, processes, screen
from harness.case import DesktopCase
from harness.fenlo import Fenlo
from harness.waiting import wait_for

CONTROLS = ("push button", "check box", "combo box", "text", "slider", "list item", "page tab", "progress bar")


class HomeWindow(DesktopCase):
    def wait_closed(self):
        wait_for(lambda: not screen.is_open(self.fenlo.process.pid), "the window to close")

    def test_opens_by_a_second_start_and_closes_by_keys(self):
        fenlo = self.start_fenlo()
        home = fenlo.open_home()
        home.find("page tab", "Settings").press()
        sections = home.find("list", "Sections")
        sections.find("list item", "Appearance").press()
        home.choose("Colours", "Dark")
        wait_for(lambda: fenlo.settings()["colour_scheme"] == "dark", "the setting in the file")
        sections.find("list item", "Sounds").press()
        tones = home.find("combo box", "Tones")
        self.assertFalse(tones.is_usable, "sounds are off")
        tones.press()
        self.assertEqual(home.all("dialog"), [], "what is disabled did as a screen reader said")
        desktop.shortcut("w")
        self.wait_closed()

        home = fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", "Appearance").press()
        home.find("combo box", "Colours").press()
        home.find("list item", "Light")
        desktop.press("Alt_R+F4")  # with the list open
        self.wait_closed()
        self.assertTrue(fenlo.is_running())

    def test_every_page_names_its_controls_and_the_memory_goes_back(self):
        fenlo = self.start_fenlo(fresh=True)
        before = processes.memory(fenlo.process.pid)
        after = []
        for opening in range(4):
            home = fenlo.open_home()
            for page in screen.pages(home):
                if opening == 0:
                    nameless = [node.role for node in home.nodes() if node.role in CONTROLS and not node.name]
                    self.assertFalse(nameless, page)
            desktop.shortcut("w")
            self.wait_closed()
            after.append(processes.memory(fenlo.process.pid))
        self.assertLess(after[-1], before + 40, "megabytes that stay")
        self.assertLess(after[-1], after[1] + 4, "megabytes that each opening leaves")


class ModuleOfTheWindows(DesktopCase):
    def installed(self):
        """A copy of the program, to be changed."""
        program = Path(os.environ["FENLO_PROGRAM"])
        copy = self.folder / "bin"
        copy.mkdir()
        for file in (program, *program.parent.glob("*.so")):
            shutil.copy(file, copy)
        return copy / program.name, next(copy.glob("*.so"))

    def start(self, program, **options):
        fenlo = Fenlo(program, self.folder, self.services, **options)
        self.addCleanup(fenlo.close)
        return fenlo

    def test_an_update_under_the_running_program_leaves_it_its_windows(self):
        program, module = self.installed()
        fenlo = self.start(program)
        module.unlink()
        module.write_bytes(b"of another version")
        fenlo.open_home().find("page tab", "Settings")

    def test_without_its_module_the_program_dictates(self):
        program, module = self.installed()
        module.unlink()
        fenlo = self.start(program, onboarded=False)
        fenlo.wait_for("[Fenlo] Ready.")
        complaints = fenlo.lines("[Fenlo] ERROR: The windows cannot be shown")
        self.assertTrue(complaints and all("install Fenlo again" in line for line in complaints), complaints)
