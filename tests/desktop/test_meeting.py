"""Meetings from the first word to the mailed notes: heard, labelled, named, starred, summed up, kept, found again."""

import re

from harness import desktop, processes
from harness.case import DesktopCase
from harness.fenlo import HOTKEY, OFFLINE_MODEL
from harness.mailer import Mailer
from harness.services import NOTES, NOTES_PROMPT, REFINE_PROMPT, SUMMARY_PROMPT
from harness.sound import Clip
from harness.waiting import wait_for

FOX = "The quick brown fox jumps over the lazy dog near the riverbank"
TODAY = "What did I say today?"
UPDATE = "I know the update is ready"
PARAGRAPH = " ".join(f"Point {number} matters as much as all the others." for number in range(12))
REFINED = "TITLE: Plans in short\n\nSUMMARY:\nA sale.\n\nRISKS:\n- Rain"


def keep_old_meetings(folder):
    """Many meetings, of which the oldest is a long one. Returns what is in the folder then."""
    for number in range(40):
        rows = range(120 if number == 0 else 1)
        talk = "".join(f"**[{row}:00] Speaker 1:** Row {row} of many\n\n" for row in rows)
        text = f"# Old {number}\n\n**Date:** Jan 1, 2024  \n**Duration:** 5:00  \n\n## Transcript\n\n{talk}"
        (folder / f"meeting_2024-{number // 28 + 1:02}-{number % 28 + 1:02}_09-00-00.md").write_text(text)
    return set(folder.iterdir())


class Meetings(DesktopCase):
    spoken = "We plan the spring sale together, and it begins in March."

    def test_three_voices_are_heard_here_and_a_killed_program_loses_none_of_them(self):
        fenlo = self.start_fenlo({"offline_mode": True}, fresh=True)
        fenlo.wait_for(f"[Fenlo] LocalTranscriber: Ready ({OFFLINE_MODEL})", patience=60)
        home = self._open_tab()
        home.fill("Topic", "Foxes")
        home.find("check box", "Capture system audio").press()
        desktop.press("Tab")  # the switch has been seen to
        home.press_button("Start Meeting")
        fenlo.wait_for("[Fenlo] Meeting mode started (with system audio)")
        self._say(Clip(FOX, self.folder, "en-us"), FOX)
        self._say(Clip(TODAY, self.folder, "en-us+f2"), TODAY)
        self._say(Clip(UPDATE, self.folder, "en-us+m5"), UPDATE, sink="speaker")
        transcript = home.find("list", "Transcript")
        self._check_words(transcript)
        self.assertEqual(self.recogniser.requests(), [], "something was uploaded in offline mode")

        # By keys: the first speaker is named, the row starred, and notes are typed.
        labels = [row.name.split(",")[0] for row in self._rows(transcript)]
        self.assertGreater(len(set(labels)), 1, "a man and a woman, told apart")
        label = labels[0]
        transcript.focus()
        desktop.press("Home", "space")
        wait_for(lambda: self._rows(transcript)[0].description == "Starred", "the star")
        desktop.press("F2")
        home.find("text", f"Name of {label}")
        desktop.type_text("Priya")
        desktop.press("Return")
        wait_for(lambda: self._rows(transcript)[0].name.startswith("Priya, "), "the name in its rows")
        self.assertFalse([row for row in self._rows(transcript) if row.name.startswith(label + ",")])
        notes = home.fill("Notes", "Feed the dog")
        wait_for(lambda: notes.text == "Feed the dog", "the notes in their field")
        home.press_button("Copy All")
        wait_for(lambda: re.search(r"^Subject: Foxes\n\n\[\d+:\d\d\] Priya: ", desktop.clipboard() or ""), "the copy")

        mark = fenlo.mark()
        desktop.press(HOTKEY)
        fenlo.wait_for("[Fenlo] Meeting active — normal dictation blocked", mark)

        fenlo.process.kill()
        fenlo.process.wait()
        self.assertEqual(list((fenlo.home / ".fenlo/meetings").glob("*.md")), [])
        old = keep_old_meetings(fenlo.home / ".fenlo/meetings")
        fenlo = self.start_fenlo({"offline_mode": True})
        fenlo.wait_for("[Fenlo] An interrupted meeting is taken up")
        [file] = wait_for(lambda: set((fenlo.home / ".fenlo/meetings").glob("*.md")) - old, "the interrupted meeting", patience=60)
        home = self._open_tab()
        self._look_below(home)
        home.find("list item", "Foxes, …").press()
        home.find("heading", "Foxes")
        home.find("label", "Feed the dog")
        home.press_button("Full Transcript…")
        self._scroll_down_to(home, "list", "Transcript")
        self._check_words(home.find("list", "Transcript"))
        self.assertIn("Priya:**", file.read_text())
        desktop.press("Escape")
        home.find("push button", "Start Meeting")
        self._check_long_lists(home)

    def test_notes_are_made_refined_mailed_and_found_again(self):
        mailer = Mailer(self.folder)
        fenlo = self.start_fenlo(environment={"GEMINI_API_KEY": "gemini_of_the_desktop_tests", **mailer.environment}, fresh=True)
        prompts = {REFINE_PROMPT: REFINED, SUMMARY_PROMPT: "## Summary\nShort.", NOTES_PROMPT: NOTES}
        self.gemini.answer(NOTES, prompts=prompts)
        self._refuse_beside_a_dictation()
        home = self._open_tab()
        home.find("radio button", "Standup").press()
        self._hold_meeting(home, "Spring sale", "We plan the spring sale together")
        home.find("heading", "Plans for the spring sale")
        headings = [node.name for node in home.all("heading")]
        self.assertEqual(headings[:4], ["Meeting ended — 1 segment · 1 speaker", "Plans for the spring sale", "Summary",
                                        "Key Decisions"])  # fmt: skip
        [asked] = self.gemini.requests()
        self.assertIn("For each speaker", asked["system"])
        self.assertIn("Speaker 1: We plan the spring sale together", asked["user"])

        home.press_button("Email to: you")
        home.fill("Add email", "bob@example.com")
        desktop.press("Return")
        home.find("push button", "Remove bob@example.com")
        home.press_button("Save as defaults")
        home.find("push button", "Saved")
        wait_for(lambda: fenlo.settings()["meeting_email_recipients"] == ["bob@example.com"], "the defaults")
        home.press_button("Email Now")
        [mail] = wait_for(mailer.mails, "the mail")
        self.assertEqual(mail["to"], ["bob@example.com"])
        self.assertEqual(mail["subject"], "Meeting Notes: Spring sale")
        self.assertIn("Offer ten per cent", mail["body"])
        home.find("alert", "Your mail program has the mail, ready for you to send.")
        mailer.end_with(3)
        home.press_button("Email Now")
        wait_for(lambda: any("mail" in node.name and "ready" not in node.name for node in home.all("alert")), "the failure")

        home.press_button("Email to…")  # folded again
        home.find("push button", "Copy Formatted").focus()
        desktop.press("End")
        home.press_button("Full Transcript…")
        self._scroll_down_to(home, "push button", "Star")
        home.press_button("Star")
        home.find("push button", "Remove the star")
        home.find("push button", "Rename Speaker 1")
        home.fill("Refine summary", "shorter")
        desktop.press("Return")
        home.find("heading", "Risks", patience=30)
        home.find("push button", "Refine").focus()
        desktop.press("Home")
        home.press_button("Copy Formatted")
        wait_for(lambda: (desktop.clipboard() or "").startswith("# Plans in short\n"), "the copy")
        exported = self.folder / "out.md"
        self._export(home, exported)
        self.assertEqual(exported.read_text(), desktop.clipboard())
        [file] = (fenlo.home / ".fenlo/meetings").glob("*.md")
        wait_for(lambda: "A sale." in file.read_text(), "the refined notes in the file")
        home.press_button("New Meeting")

        wait_for(lambda: "Speaker 1:** \u2b50" in file.read_text(), "the star in the file")
        self._check_refusal(home, mailer)
        self._check_history(home, file)

    def test_a_transcription_stays_with_the_newest_words_and_goes_out(self):
        mailer = Mailer(self.folder)
        fenlo = self.start_fenlo(environment=mailer.environment, fresh=True)
        self.recogniser.answer("")
        home = self._open_tab()
        home.find("radio button", "Transcription").press()
        home.find("heading", "Transcribe as it is said")
        self.assertFalse(home.all("radio button", "Standup"))
        home.press_button("Start Transcription")
        for line in ("Transcribing", "Listening...", "Text appears after pauses in speech"):
            home.find("label", line)
        self._check_place(home)

        home.press_button("Stop Transcription")
        count = len(fenlo.lines("[Fenlo] Meeting segment"))
        home.find("heading", f"Transcription complete — {count} segments · 1 speaker")
        transcript = home.find("list", "Transcript")
        transcript.focus()
        desktop.press("Home", "F2")
        home.find("text", "Name of Speaker 1")
        desktop.type_text("Priya")
        desktop.press("Return")
        wait_for(lambda: all(row.name.startswith("Priya, ") for row in self._rows(transcript)), "the name in its rows")
        desktop.press("space")
        [file] = (fenlo.home / ".fenlo/meetings").glob("*.md")
        wait_for(lambda: "Priya:** \u2b50 Point 0" in file.read_text(), "the name and the star in the file")
        home.press_button("Copy All")
        wait_for(lambda: (desktop.clipboard() or "").count("] Priya: ") == count, "the copy")
        exported = self.folder / "out.md"
        self._export(home, exported)
        self.assertIn("Priya:** \u2b50 Point 0", exported.read_text())
        home.press_button("Email")
        [mail] = wait_for(mailer.mails, "the mail")
        self.assertEqual(mail["subject"], "Transcription: Transcription")
        self.assertIn("Priya: Point 0", mail["body"])
        home.press_button("New Session")
        self._check_outage(home)

    def _check_long_lists(self, home):
        """Keys lead to the ends of a transcript that is longer than the window, and back to where the history stood."""
        self._look_below(home)
        home.press_button("View All")
        history = home.find("list", "Meetings")
        history.focus()
        desktop.press("End")
        before = wait_for(lambda: (row := history.find("list item", "Old 0, …")).has("selected") and row.place, "the last row")
        desktop.press("Return")
        home.press_button("Full Transcript…")
        transcript = home.find("list", "Transcript")
        transcript.focus()
        for key, row in (("End", 119), ("Home", 0), ("Next", None), ("End", 119), ("Prior", None)):
            desktop.press(key)
            wait_for(lambda row=row: self._sees_selected(home, transcript, row), f"the row after {key}")
        desktop.press("Escape")
        history = home.find("list", "Meetings")
        wait_for(lambda: history.find("list item", "Old 0, …").place == before, "the history as it stood")

    def _look_below(self, home):
        """The recent meetings may lie below the window."""
        home.find("push button", "Start Meeting").focus()
        desktop.press("End")

    def _scroll_down_to(self, home, role, name):
        """What lies at the end of a page that is growing."""

        def shown():
            desktop.press("End")
            return home.all(role, name)

        wait_for(shown, f"{role} {name!r} at the end of the page")

    def _sees_selected(self, home, transcript, number):
        """Whether the chosen row, which is this one if a number is given, lies inside the window."""
        rows = [row for row in transcript.all("list item") if row.has("selected")]
        if not rows or number is not None and not rows[0].name.endswith(f"Row {number} of many"):
            return False
        _, top, _, height = home.place
        _, place, _, size = rows[0].place
        return top <= place and place + size <= top + height

    def _check_place(self, home):
        """The list stays with the newest row, but not under the eyes of a user who reads others."""
        self._hear(home, PARAGRAPH, 5)
        transcript = home.find("list", "Transcript")
        left, top, width, height = transcript.place

        def is_at_newest():
            _, place, _, size = self._rows(transcript)[-1].place
            return -4 < top + height - (place + size) < 40

        def places():
            return {row.name: row.place[1] for row in self._rows(transcript)}

        wait_for(is_at_newest, "the newest row at the foot of the list")
        desktop.wheel_up(left + width // 2, top + height // 2, 3)
        home.find("push button", "Newest")
        before = wait_for(lambda: (now := places()) == places() and now, "the list to stand still")
        self._hear(home, "Later words", 1)
        after = places()
        self.assertEqual({name: after.get(name) for name in before}, before)
        home.press_button("Newest")
        wait_for(is_at_newest, "the newest row at the foot of the list again")
        self.assertIn("Later words", self._rows(transcript)[-1].name)
        home.wait_gone("push button", "Newest")

    def _hear(self, home, words, segments):
        """At least so many more segments of these words, and no more words after them."""
        self.recogniser.answer(words)
        self._speak_until_heard(segments)
        self.recogniser.answer("")
        wait_for(lambda: home.all("label", self._count_text()), "the rows")

    def _speak_until_heard(self, segments=1):
        """Sound without a voice in it is not sent to the recogniser."""
        mark = self.fenlo.mark()

        def heard():
            self.clip.speak(latency=500)
            return len(self.fenlo.lines("[Fenlo] Meeting segment", mark)) >= segments

        wait_for(heard, f"{segments} segments", patience=90)

    def _count_text(self):
        return f"{len(self.fenlo.lines('[Fenlo] Meeting segment'))} segments"

    def _check_outage(self, home):
        """A recogniser that is out of order is told, also after the end, until it answers again."""
        self.recogniser.answer("Words before it")
        home.press_button("Start Transcription")
        self._speak_until_heard()
        self.recogniser.misbehave("503")
        self.clip.speak(latency=500)
        home.find("alert", "Service out of order", patience=60)
        home.press_button("Stop Transcription")
        home.find("heading", "Transcription complete…")
        notices = wait_for(lambda: len(found := [node.name for node in home.all("alert")]) == 2 and found, "both notices")
        self.assertEqual(notices[0], "Service out of order")
        self.assertRegex(notices[1], r"^\d+ parts? still to be transcribed\.$")
        self.recogniser.answer("Words after it")
        wait_for(lambda: not home.all("alert"), "the notices to go")
        newest = max((self.fenlo.home / ".fenlo/meetings").glob("*.md"))
        wait_for(lambda: "Words after it" in newest.read_text(), "the words in the file")

    def _refuse_beside_a_dictation(self):
        home = self._open_tab()
        home.find("push button", "Start Meeting")
        self.recogniser.answer("Dictated", delay=4)
        mark = self.fenlo.dictate(self.clip)
        self.fenlo.wait_for("[Fenlo] Uploading", mark)
        home.press_button("Start Meeting")
        home.find("alert", "A dictation is under way…")
        self.fenlo.wait_for_paste(mark)
        self.assertFalse(self.fenlo.lines("[Fenlo] Meeting mode started"))
        home.find("push button", "Close this notice").focus()
        desktop.press("Return")
        home.wait_gone("alert", "A dictation is under way…")
        desktop.shortcut("w")

    def _check_refusal(self, home, mailer):
        """Neither language model answers; later one does, and the meeting is mailed."""
        self.gemini.misbehave("503")
        self.groq.misbehave("401")
        self._hold_meeting(home, "Autumn", "The autumn sale is another matter")
        fault = home.find("alert", "Gemini…").name
        self.assertIn("Groq refused the key (401)", fault)
        self.gemini.answer(NOTES)
        home.press_button("Open Meeting")
        home.find("heading", "Autumn")
        home.press_button("Summarize Meeting")
        home.fill("Anything specific to focus on?", "prices")
        home.press_button("Summarize with focus")
        home.find("heading", "Key Decisions", patience=30)
        self.assertFalse(home.all("push button", "Summarize Meeting"))
        self.assertTrue(self.gemini.requests()[-1]["user"].endswith("User's instruction: prices"))
        mailer.end_with(0)
        mails = len(mailer.mails())
        home.press_button("Email to: you")
        home.fill("Add email", "cleo@example.com")
        desktop.press("Return")
        home.find("push button", "Remove cleo@example.com")
        home.press_button("Email")
        mail = wait_for(lambda: mailer.mails()[mails:], "the mail")[0]
        self.assertEqual(mail["to"], ["cleo@example.com"])
        self.assertIn("The autumn sale is another matter", mail["body"])
        home.find("alert", "Your mail program has the mail, ready for you to send.")
        desktop.press("Escape")

    def _check_history(self, home, older):
        home.press_button("View All")
        meetings = home.find("list", "Meetings")
        wait_for(lambda: len(meetings.all("list item")) == 2, "both meetings")
        desktop.shortcut("f")
        desktop.type_text("TOGETHER")
        wait_for(lambda: len(meetings.all("list item")) == 1, "the one that matches")
        self.assertIn("together", meetings.find("list item", "Spring sale, …").description)
        desktop.type_text("no such words")
        home.find("label", "No meetings found")
        home.press_button("Clear the search")
        wait_for(lambda: len(meetings.all("list item")) == 2, "both again")
        meetings.focus()
        desktop.press("End", "Delete", "Return")  # Cancel has the keyboard
        home.wait_gone("push button", "Delete Meeting")
        self.assertTrue(older.exists())
        desktop.press("Delete")
        home.press_button("Delete Meeting")
        wait_for(lambda: not older.exists(), "the file to go")
        wait_for(lambda: len(meetings.all("list item")) == 1, "the row to go")

    def _open_tab(self):
        home = self.fenlo.open_home()
        home.find("page tab", "Meeting").press()
        return home

    def _hold_meeting(self, home, topic, words):
        self.recogniser.answer(words)
        mark = self.fenlo.mark()
        home.fill("Topic", topic)
        desktop.press("Return")
        self.fenlo.wait_for("[Fenlo] Meeting mode started", mark)
        self.clip.speak(latency=500)
        self.fenlo.wait_for("[Fenlo] Meeting segment", mark)
        self.recogniser.answer("")  # what comes of the silence until the stop
        home.press_button("Stop Meeting")

    def _say(self, clip, words, sink=None):
        """Right after a cut, so that no cut falls into the words; returns when they stand in the transcript."""
        mark = self.fenlo.mark()
        self.fenlo.wait_for("[Fenlo] Meeting chunk triggered", mark)
        if sink:
            processes.output(["paplay", f"--device={sink}", "--latency-msec=500", str(clip.file)], patience=60)
        else:
            clip.speak(latency=500)
        self.fenlo.wait_for("[Fenlo] Meeting segment", mark, patience=60)

    def _rows(self, transcript):
        return sorted(transcript.all("list item"), key=lambda node: node.place[1])

    def _check_words(self, transcript):
        """Most of what was said stands there, in order; the small model may miss a word."""

        def share():
            heard = " ".join(row.name.split(": ", 1)[1].lower() for row in self._rows(transcript))
            said = re.findall(r"[a-z]+", f"{FOX} {TODAY} {UPDATE}".lower())
            return sum(word in heard for word in said) / len(said)

        wait_for(lambda: share() > 0.8, f"the words, of which {share():.0%} are there")

    def _export(self, home, file):
        home.press_button("Export .md")
        wait_for(lambda: desktop.windows_named("Export the Meeting"), "the question for a file")
        desktop.activate(desktop.windows_named("Export the Meeting")[0])
        desktop.shortcut("a")
        desktop.type_text(str(file))
        desktop.press("Return")
        home.find("alert", "Exported to out.md.")
