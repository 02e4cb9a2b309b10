"""How the desktop wants windows to look: what its portal says at the start, later, late and not at all."""

import time
import unittest

from harness import desktop, screen
from harness.case import DesktopCase
from harness.portal import APPEARANCE, DARK, GNOME, LIGHT, Portal
from harness.waiting import wait_for

PAGES = {(0x14, 0x14, 0x17): "dark", (0xFA, 0xFA, 0xF8): "light"}
SCHEME, MOTION, ANIMATIONS = (APPEARANCE, "color-scheme"), (APPEARANCE, "reduced-motion"), (GNOME, "enable-animations")
TITLE = "Welcome to Fenlo"
WHOLE_DEMO = 4  # seconds, in which each of its pictures gives way to another


class FollowsTheDesktop(DesktopCase):
    def test_colours_follow_a_portal_that_comes_late_and_changes_its_mind(self):
        fenlo = self.start_fenlo(fresh=True)
        fenlo.open_home()
        self.wait_for_page("light")
        portal = self.open_portal((*SCHEME, DARK))
        self.wait_for_page("dark")
        portal.tell(*SCHEME, LIGHT)
        self.wait_for_page("light")
        portal.tell(*SCHEME, DARK)
        self.wait_for_page("dark")
        desktop.shortcut("w")

        home = fenlo.open_home()
        self.wait_for_page("dark")
        home.find("page tab", "Settings").press()
        home.find("list", "Sections").find("list item", "Appearance").press()
        home.choose("Colours", "Light")
        self.wait_for_page("light")
        home.choose("Colours", "As the desktop")
        self.wait_for_page("dark")

    def test_a_silent_portal_delays_nothing_and_counts_when_it_answers(self):
        portal = self.open_portal((*SCHEME, DARK), (*MOTION, 1), (*ANIMATIONS, True))
        portal.freeze()
        started = time.monotonic()
        fenlo = self.start_fenlo(fresh=True, onboarded=False)
        window = screen.window(fenlo.process.pid, TITLE)
        self.assertLess(time.monotonic() - started, 20, "less than a bus waits for an answer")
        self.wait_for_page("light", TITLE)
        demo = window.find("image", "While Left Control is held…").place
        picture = desktop.pixels(*demo)
        wait_for(lambda: desktop.pixels(*demo) != picture, "the demonstration to move")

        portal.thaw()
        self.wait_for_page("dark", TITLE)
        wait_for(lambda: self.rests(demo), "the demonstration to rest")
        portal.tell(*MOTION, 0)
        wait_for(lambda: not self.rests(demo), "the demonstration to move again")

    @staticmethod
    def rests(demo):
        picture = desktop.pixels(*demo)
        end = time.monotonic() + WHOLE_DEMO
        while time.monotonic() < end:
            if desktop.pixels(*demo) != picture:
                return False
        return True

    def open_portal(self, *settings):
        portal = Portal(*settings)
        self.addCleanup(portal.close)
        return portal

    def wait_for_page(self, look, title="Fenlo"):
        left, top, width, height = screen.window(self.fenlo.process.pid, title).place

        def page():
            return PAGES.get(desktop.pixels(left + 3, top + height - 4, 1, 1)[0][0])

        wait_for(lambda: page() == look, f"a {look} page")


if __name__ == "__main__":
    unittest.main()
