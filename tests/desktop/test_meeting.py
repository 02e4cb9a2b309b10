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
REFINED = "TITLE: Plans in short\n\nSUMMARY:\nA sale.\n\nRISKS:\n- Rain"


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
        desktop.press("Home", "F2")
        home.find("text", f"Name of {label}")
        desktop.type_text("Priya")
        desktop.press("Return")
        wait_for(lambda: self._rows(transcript)[0].name.startswith("Priya, "), "the name in its rows")
        self.assertFalse([row for row in self._rows(transcript) if row.name.startswith(label + ",")])
        desktop.press("space")
        wait_for(lambda: self._rows(transcript)[0].description == "Starred", "the star")
        home.find("text", "Notes").focus()
        desktop.type_text("Feed the dog")
        home.press_button("Copy All")
        wait_for(lambda: re.search(r"^Subject: Foxes\n\n\[\d+:\d\d\] Priya: ", desktop.clipboard() or ""), "the copy")

        mark = fenlo.mark()
        desktop.press(HOTKEY)
        fenlo.wait_for("[Fenlo] Meeting active — normal dictation blocked", mark)

        fenlo.process.kill()
        fenlo.process.wait()
        self.assertEqual(list((fenlo.home / ".fenlo/meetings").glob("*.md")), [])
        fenlo = self.start_fenlo({"offline_mode": True})
        fenlo.wait_for("[Fenlo] An interrupted meeting is taken up")
        [file] = wait_for(lambda: list((fenlo.home / ".fenlo/meetings").glob("*.md")), "the interrupted meeting", patience=60)
        home = self._open_tab()
        home.find("list item", "Foxes, …").press()
        home.find("heading", "Foxes")
        home.find("label", "Feed the dog")
        home.press_button("Full Transcript…")
        desktop.press("End")
        self._check_words(home.find("list", "Transcript"))
        self.assertIn("Priya:**", file.read_text())
        desktop.press("Escape")
        home.find("push button", "Start Meeting")

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

        self._check_refusal(home)
        self._check_history(home, file)

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
        desktop.shortcut("w")

    def _check_refusal(self, home):
        """Neither language model answers; later one does."""
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
