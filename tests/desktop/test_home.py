"""The home window: opened and closed, by keyboard alone, every page of it."""

from harness import desktop, processes, screen
from harness.case import DesktopCase
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
