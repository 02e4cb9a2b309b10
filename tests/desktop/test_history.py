"""The history and the dashboard in the open window: followed, searched, copied, deleted, exported, and no loss."""

import csv
import json
import re

from harness import desktop, disk, processes
from harness.case import DesktopCase
from harness.waiting import wait_for

OLD = [
    {"entry_id": "A", "ts": "2020-01-01T10:00:00Z", "words": 2, "full_text": "=SUM(A1) crème brûlée"},
    {"entry_id": "B", "ts": "2020-01-02T10:00:00Z", "words": 5, "full_text": "नमस्ते שלום 👍", "stars": 5},
    {"entry_id": "C", "ts": "2020-01-03T10:00:00Z", "words": 90, "full_text": "over and over " * 30},
]


class History(DesktopCase):
    def test_a_life_of_entries(self):
        self._end_program()  # its icon would come into the panel
        self.panel = self.open_panel()
        fenlo = self.start_fenlo(history=OLD, fresh=True)
        home = self._open("History")
        entries = home.find("list", "History")
        self.assertEqual(self._texts(entries), [OLD[2]["full_text"][:40].rstrip(), OLD[1]["full_text"], OLD[0]["full_text"]])

        # A take appears in the open window, above the others.
        self._dictate("Zebras are striped")
        wait_for(lambda: self._texts(entries)[0] == "Zebras are striped", "the take in the open list")
        home.find("label", "4 entries")

        # By keys: search without accents, copy; a long text whole.
        desktop.shortcut("f")
        desktop.type_text("BRULEE")
        wait_for(lambda: self._texts(entries) == [OLD[0]["full_text"]], "the one that matches")
        home.find("label", "1 of 4 entries")
        desktop.press("Return")
        wait_for(lambda: self._focused(entries), "the keyboard at the entry")
        desktop.press("Return")
        wait_for(lambda: desktop.clipboard() == OLD[0]["full_text"], "the copy")
        entries.find("push button", "Copied")
        home.fill("Search the history", "unicorn")
        home.find("label", "Nothing found for “unicorn”")
        desktop.press("Escape")
        wait_for(lambda: len(self._texts(entries)) == 4, "all of them again")
        entries.find("push button", "Show more...").press()
        entries.find("push button", "Show less")

        # By keys: the last one, deleted and brought back byte for byte.
        self._press_at(entries, "End", "Up")
        wait_for(lambda: self._focused(entries) == OLD[1]["full_text"], "the keyboard at the last but one")
        before = (fenlo.home / ".fenlo/stats.json").read_text()
        desktop.press("Delete")
        wait_for(lambda: "B" not in self._ids(), "the entry to leave the file")
        wait_for(lambda: self._focused(entries) == OLD[0]["full_text"], "the keyboard at the next one")
        self.assertIn("1 sessions", self._menu_line("Total:"))
        home.press_button("Undo")
        wait_for(lambda: (fenlo.home / ".fenlo/stats.json").read_text() == before, "the entry, as it was")
        wait_for(lambda: len(self._texts(entries)) == 4, "the entry in the list")

        self._check_exports(home)
        self._check_dashboard(home)

        home.find("page tab", "History").press()
        home.press_button("Delete All…")
        desktop.press("Return")  # Cancel has the keyboard
        home.wait_gone("push button", "Delete 4 Entries")
        self.assertEqual(len(self._ids()), 4)
        home.press_button("Delete All…")
        home.press_button("Delete 4 Entries")
        home.find("label", "No transcriptions yet")
        self.assertEqual(self._ids(), [])
        self.assertIn("1 sessions", self._menu_line("Total:"))

    def test_what_doctor_finds_is_copied_for_a_report(self):
        self.start_fenlo()
        home = self._open("Settings")
        home.find("list", "Sections").find("list item", "About").press()
        home.press_button("Check Now")
        home.find("push button", "Copy Report", patience=60)
        home.find("label", "paste keys")
        home.press_button("Copy Report")
        wait_for(lambda: re.search(r"^Fenlo \d.*^ok +paste keys", desktop.clipboard() or "", re.DOTALL | re.MULTILINE), "it")
        self.assertNotIn("gsk_of_the_desktop_tests", desktop.clipboard())

    def test_a_disk_that_takes_nothing_is_told_and_loses_nothing(self):
        fenlo = self.start_fenlo(history=OLD, fresh=True)
        fenlo.close()
        small = fenlo.home / ".fenlo"
        disk.mount_small(self, small, "64k")
        fenlo = self.start_fenlo(history=OLD)
        home = self._open("History")
        entries = home.find("list", "History")
        filler = disk.fill(small)
        self._dictate("Only in memory")
        wait_for(lambda: self._texts(entries)[0] == "Only in memory", "what the disk refused")
        self._press_at(entries, "Home", "Delete")
        home.find("alert", "The entry could not be deleted, because the disk is full; it is still there.")
        wait_for(lambda: self._texts(entries)[0] == "Only in memory", "the entry, still there")
        self._export(home, "Text…", small / "out.txt")
        home.find("alert", "out.txt could not be written, because the disk is full; your history is as it was.")
        filler.unlink()

        processes.output(["mount", "-o", "remount,ro", small])
        home.press_button("Delete All…")
        home.press_button("Delete 4 Entries")
        home.find("alert", "Nothing was deleted, because the disk is read-only.")
        self.assertEqual(self._ids(), ["A", "B", "C"])
        processes.output(["mount", "-o", "remount,rw", small])
        self._press_at(entries, "End", "Delete")
        wait_for(lambda: "A" not in self._ids(), "the entry to leave the file")
        self.assertEqual(fenlo.statistics()["history"][-1]["full_text"], "Only in memory")

    def _open(self, tab):
        home = self.fenlo.open_home()
        home.find("page tab", tab).press()
        return home

    def _dictate(self, words):
        """Into an editor, after which the window is in front again."""
        editor = self.open_editor()
        self.recogniser.answer(words)
        self.dictate_into(editor, words)
        editor.close()
        self.fenlo.open_home()

    def _texts(self, entries):
        """The beginnings of the entries that are on the screen, from above."""
        rows = sorted(entries.all("list item"), key=lambda node: node.place[1])
        return [re.sub(r"^.*? words: ", "", node.name)[:40].rstrip() for node in rows]

    def _focused(self, entries):
        node = next((node for node in entries.all("list item") if node.has("focused")), None)
        return node and re.sub(r"^.*? words: ", "", node.name)

    def _press_at(self, entries, *keys):
        entries.focus()
        desktop.press(*keys)

    def _ids(self):
        return [entry["entry_id"] for entry in self.fenlo.statistics()["history"]]

    def _menu_line(self, beginning):
        return wait_for(lambda: next((line for line in self.panel.menu() if line.startswith(beginning)), None), beginning)

    def _export(self, home, format_name, file):
        home.press_button("Export…")
        home.find("menu item", format_name).press()
        wait_for(lambda: desktop.windows_named("Export the History"), "the question for a file")
        desktop.activate(desktop.windows_named("Export the History")[0])
        desktop.shortcut("a")
        desktop.type_text(str(file))
        desktop.press("Return")

    def _check_exports(self, home):
        texts = ["Zebras are striped", *(entry["full_text"] for entry in reversed(OLD))]
        for format_name, ending in (("Text…", "txt"), ("Table (CSV)…", "csv"), ("JSON…", "json")):
            file = self.folder / f"history.{ending}"
            self._export(home, format_name, file)
            home.find("alert", f"4 entries exported to history.{ending}")
            content = file.read_text(encoding="utf-8-sig")
            if ending == "json":
                self.assertEqual([entry["text"] for entry in json.loads(content)], texts)
            elif ending == "csv":
                rows = list(csv.DictReader(content.splitlines()))
                self.assertEqual([row["Text"] for row in rows], [*texts[:3], "'" + texts[3]])
            else:
                self.assertEqual([text for text in texts if text in content], texts)

    def _check_dashboard(self, home):
        home.find("page tab", "Dashboard").press()
        words, sessions = (home.find("label", name).name for name in ("3 words", "1 session"))
        line = self._menu_line("Today:")
        self.assertTrue(line.startswith(f"Today:  {words}"), line)
        self.assertIn(sessions, line)
        days = home.find("chart", "Words a day")
        self.assertTrue(days.description.startswith("3 words in the last four weeks, most of them on "), days.description)
        self.assertTrue(home.find("chart", "Hours of the day").description.startswith("You dictate most between "))
