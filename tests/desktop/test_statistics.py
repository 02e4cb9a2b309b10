"""What the program counts, in its file and in its menu."""

import time
import unittest

from harness.case import DesktopCase


class Statistics(DesktopCase):
    def test_dictations_are_kept_and_the_menu_counts_them(self):
        panel = self.open_panel()
        fenlo = self.start_fenlo()
        editor = self.open_editor()
        panel.wait_for_line("Today:  0 words  |  0 sessions  |  0 WPM  |  0 min saved")
        words = "The quick brown fox jumps over the lazy dog"
        self.say_and_paste(words)
        self.say_and_paste("And rests")
        editor.wait_for_text(words + "And rests")
        kept = fenlo.wait_for_entry("And rests")

        self.assertEqual((fenlo.home / ".fenlo/stats.json").stat().st_mode & 0o777, 0o600)
        statistics = fenlo.statistics()
        first, second = statistics["history"]
        self.assertEqual((first["full_text"], first["words"], first["synced"]), (words, 9, False))
        self.assertAlmostEqual(first["duration"], self.clip.seconds, delta=1.5)
        self.assertAlmostEqual(first["wpm"], 60 * 9 / first["duration"], delta=1)
        self.assertEqual(second, kept)
        today = statistics["daily"][time.strftime("%Y-%m-%d")]
        self.assertEqual((today["words"], today["sessions"]), (11, 2))
        self.assertEqual((statistics["total_words"], statistics["total_sessions"]), (11, 2))
        speed = int(60 * 11 / today["duration"])
        panel.wait_for_line(f"Today:  11 words  |  2 sessions  |  {speed} WPM  |  0 min saved")
        panel.wait_for_line("Total:  11 words  |  2 sessions  |  0 min saved")


if __name__ == "__main__":
    unittest.main()
