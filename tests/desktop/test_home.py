"""The home window: opened and closed, by keyboard alone, in light and dark."""

from harness import desktop, screen
from harness.case import DesktopCase
from harness.waiting import wait_for


class HomeWindow(DesktopCase):
    def test_opens_by_a_second_start_and_turns_pages_by_keys(self):
        fenlo = self.start_fenlo()
        home = fenlo.open_home()
        settings = home.find("page tab", "Settings")
        settings.press()
        sections = home.find("list", "Sections")
        sections.focus()
        desktop.press("End")
        desktop.press("Home")
        appearance = sections.find("list item", "Appearance")
        appearance.press()
        wait_for(lambda: appearance.has("selected"), "the chosen section")
        home.choose("Colours", "Dark")
        wait_for(lambda: fenlo.settings()["colour_scheme"] == "dark", "the setting in the file")

        desktop.shortcut("w")
        wait_for(lambda: not screen.is_open(fenlo.process.pid), "the window to close")
        home = fenlo.open_home()
        home.find("page tab", "Settings").press()
        home.find("combo box", "Colours").press()
        home.find("list item", "Light")
        desktop.press("Alt_R+F4")  # with the list open
        wait_for(lambda: not screen.is_open(fenlo.process.pid), "the window to close")
        self.assertTrue(fenlo.is_running())
