"""Every setting of the window: changed there it is in the file at once, and the next take, or what it is about, differs.
And back."""

import json
import re
import unittest
from typing import Callable, NamedTuple, Optional

from harness import desktop, pill, processes
from harness.case import DesktopCase
from harness.fenlo import HOTKEY
from harness.sound import Listener
from harness.waiting import wait_for

WORDS = "hello new line we met at noon"
POLISHED = "hello we met at noon"  # no word that would be learned
START_TONE, HARP_TONE, NUDGE = 880, 523, 600  # hertz
PAGE_DARK = (0x14, 0x14, 0x17)

SETTABLE = ("check box", "combo box", "text", "password text", "slider", "spin button", "radio button")


class Setting(NamedTuple):
    section: str
    name: str
    to: Optional[str]  # the label to choose or the text to type; none for a switch
    key: str  # in the file
    value: object  # there, after the change
    shows: Callable  # whether a take, or the desktop, has the effect


def sent(take, field):
    return take.speech["fields"].get(field, "")


# What one take can show at the same time; the last list is of takes that the recogniser refuses.
TAKES = (
    (
        Setting("General", "Type short texts instead of pasting", None, "type_short_texts", True,
                lambda take: "[Fenlo] Typed:" in take.log),
        Setting("Dictation", "Voice commands", None, "voice_commands", False, lambda take: "new line" in take.dictated),
        Setting("Language and text", "Language", "German", "language", "de", lambda take: sent(take, "language") == "de"),
        Setting("Language and text", "Algorithm", "Algo 8.1", "stt_engine", "stt81",
                lambda take: take.speech["target"] == "/v1/stt"),
        Setting("Language and text", "Auto capitalize", None, "auto_capitalize", False,
                lambda take: take.dictated.startswith("hello")),
        Setting("Language and text", "Style", "Minimal (errors only)", "smart_rewrite_style", "minimal",
                lambda take: "transcription correction assistant" in take.prompt),
        Setting("Language and text", "Model", "Gemini Flash", "smart_rewrite_model", "gemini",
                lambda take: take.model == "gemini"),
        Setting("Profession", "Partner", None, "profession_role", "partner",
                lambda take: "The user is a partner lawyer." in take.prompt),
        Setting("Profession", "Tax", None, "lawyer_practice_areas", ["tax"],
                lambda take: "They practice: " in take.prompt),
        Setting("Profession", "Contracts", None, "dictation_types", ["contracts"],
                lambda take: "They mainly dictate: contracts" in take.prompt),
        Setting("Words", "Your words", "Ilka Brandt", "custom_vocabulary", ["Ilka Brandt"],
                lambda take: "Ilka Brandt" in take.prompt),
        Setting("Words", "Learned words", "Rosuvas", "profession_vocabulary", ["Rosuvas"],
                lambda take: "Rosuvas" in take.prompt),
    ),
    (
        Setting("Sounds", "Sounds", None, "play_sounds", True, lambda take: take.tones & {START_TONE, HARP_TONE}),
        Setting("Sounds", "Tones", "Harp", "sound_scheme", "harp", lambda take: HARP_TONE in take.tones),
        Setting("General", "App in the pill", None, "show_app_in_pill", False, lambda take: 0 < take.pill < take.full_pill),
        Setting("Dictation", "Press once to start, again to stop", None, "continuous_mode", True,
                lambda take: "Toggle [Left Control] to dictate" in take.menu),
        Setting("Language and text", "Smart Rewrite", None, "smart_rewrite", False,
                lambda take: not take.model and take.text == "Hello\nWe met at noon"),
        Setting("Profession", "Mode", "Personal", "dictation_mode", "personal",
                lambda take: "Personal Mode" in take.menu and "habeas corpus" not in sent(take, "prompt")),
    ),
    (
        Setting("General", "Status pill", None, "show_overlay", False, lambda take: take.pill == 0),
        Setting("General", "Type every text instead of pasting", None, "type_all_texts", True,
                lambda take: "[Fenlo] Typed:" in take.log),
        Setting("Dictation", "Key", "Left Shift", "hotkey", "shift_l",
                lambda take: "Hold [Left Shift] to dictate" in take.menu),
        Setting("Language and text", "Output", "Output: Translate to English", "output_mode", "translate",
                lambda take: "translate the text into English" in take.prompt),
        Setting("Profession", "What do you do?", "Doctor", "profession", "doctor",
                lambda take: "Rosuvas" in sent(take, "prompt")),
    ),
)  # fmt: skip
REFUSED = (
    Setting("General", "Silence nudge", None, "silence_notification", False, lambda take: NUDGE not in take.tones),
    Setting("General", "Keep failed takes", None, "keep_failed_takes", False, lambda take: not take.is_kept),
)

# What is there to see at once.
DESKTOP = (
    Setting("General", "Open at login", None, None, None,
            lambda test: "Hidden=true" in (test.fenlo.home / ".config/autostart/org.fenlo.Fenlo.desktop").read_text()),
    Setting("Microphone", "Built-in microphone before a wireless headset's", None, "mic_mode", "airpods",
            lambda test: "Recording from Headset" in test.labels()),
    Setting("Microphone", "Microphone", "Table", "mic_device", "table",
            lambda test: "Recording from Table" in test.labels()),
    Setting("Appearance", "Colours", "Dark", "colour_scheme", "dark", lambda test: test.page_colour() == PAGE_DARK),
)  # fmt: skip

# Those that other modules change, with a take each: what happens while one speaks, the services' keys, offline mode, the
# voice profile.
ELSEWHERE = {
    ("General", "Words in the pill"),
    ("General", "Send long takes in parts"),
    ("Services", "password text"),
    ("Offline", "Offline mode"),
    ("Voice", "Voice isolation"),
}


class Take:
    """What one dictation showed, sent, sounded and left behind."""

    pill = 0  # its width; and that of one which shows everything
    full_pill = 0
    text = ""  # what was inserted
    dictated = ""  # what was said, as the language model got it, or as it was inserted
    prompt = ""  # to the language model
    model = ""  # the language model that was asked


class EverySetting(DesktopCase):
    settings = {"profession": "lawyer", "smart_rewrite": True, "language": "auto"}
    environment = {"GEMINI_API_KEY": "gemini_of_the_desktop_tests", "XAI_API_KEY": "xai_of_the_desktop_tests"}

    def test_each_is_in_the_file_and_has_its_effect(self):
        self.panel = self.open_panel()
        self.start_fenlo(fresh=True)
        self.editor = self.open_editor()
        self.home = self.fenlo.open_home()
        self.home.find("page tab", "Settings").press()
        self.sections = self.home.find("list", "Sections")
        with self.microphones():
            self.assert_all_are_listed()
            for setting in DESKTOP:
                self.change_and_back(setting)

        before = self.take()
        for settings in TAKES:
            self.compare(settings, before, self.take)
        self.compare(REFUSED, self.refused_take(), self.refused_take)

    def assert_all_are_listed(self):
        """A new setting needs a line in the tables above."""
        listed = {(setting.section, setting.name) for group in (*TAKES, REFUSED, DESKTOP) for setting in group} | ELSEWHERE
        for entry in self.sections.all("list item"):
            self.section(entry.name)
            found = [node for node in self.page.nodes(also_unseen=True) if node.role in SETTABLE]
            if entry.name == "Profession":  # one of the answers to each question stands for all
                answers = [node for node in found if node.role == "check box"]
                self.assertGreater(len(answers), 20)
                found = [node for node in found if node not in answers]
            missing = [node.name for node in found if not {(entry.name, node.name), (entry.name, node.role)} & listed]
            self.assertFalse(missing, f"settings of {entry.name!r} whose effect nobody tests")

    def compare(self, settings, before, take):
        """Changes these settings, looks at the take that follows, and changes them back."""
        had = self.fenlo.settings()
        before.full_pill = before.pill
        for setting in settings:
            self.assertFalse(setting.shows(before), f"{setting.name}: the effect is there before the change")
        restores = [self.change(setting) for setting in settings]
        now = take()
        now.full_pill = before.pill
        for setting in settings:
            with self.subTest(setting=setting.name):
                self.assertTrue(setting.shows(now), vars(now))
        for setting, restore in reversed(list(zip(settings, restores))):
            restore()
            if not isinstance(had[setting.key], list):  # another profession has other words
                self.wait_for_setting(setting.key, had[setting.key])

    def change_and_back(self, setting):
        self.section(setting.section)
        self.assertFalse(setting.shows(self), f"{setting.name}: the effect is there before the change")
        restore = self.change(setting)
        wait_for(lambda: setting.shows(self), f"the effect of {setting.name}")
        restore()
        wait_for(lambda: not setting.shows(self), f"the effect of {setting.name} to go")

    def change(self, setting):
        """Changes it on screen, sees it in the file, and returns what changes it back."""
        self.section(setting.section)
        if setting.to is None:
            self.page.scroll_to(setting.name)
            self.page.find("check box", setting.name).press()

            def restore():
                self.section(setting.section)
                self.page.scroll_to(setting.name)
                self.page.find("check box", setting.name).press()

        elif boxes := self.page.all("combo box", setting.name):
            label = boxes[0].description
            self.page.choose(setting.name, setting.to)

            def restore():
                self.section(setting.section)
                self.page.choose(setting.name, label)

        else:
            self.page.fill(setting.name, setting.to)

            def restore():
                self.section(setting.section)
                self.page.find("text", setting.name).focus()
                desktop.shortcut("a")
                desktop.press("Delete")

        if setting.key:
            self.wait_for_setting(setting.key, setting.value)
        return restore

    def section(self, name):
        desktop.activate(desktop.windows_named("Fenlo")[0])
        self.sections.find("list item", name).press()
        self.page = self.home.find("panel", name)

    def wait_for_setting(self, key, value):
        try:
            wait_for(lambda: self.fenlo.settings()[key] == value, f"{key} to be {value!r} in the file")
        except AssertionError as fault:
            raise AssertionError(f"{fault}; it is {self.fenlo.settings()[key]!r}") from None

    def take(self):
        """A dictation into the editor, as these settings want it done."""
        take = self.begin()
        had = self.editor.text()
        entries = self.entries()
        with self.recording(take):
            self.clip.speak()
            take.pill = pill.width()
        wait_for(lambda: self.entries() > entries, "the take in the history")
        take.text = self.fenlo.statistics()["history"][-1]["full_text"]
        self.editor.wait_for_text(had + take.text)
        [take.speech] = self.recogniser.requests()
        asked = [(name, request) for name in ("gemini", "groq") for request in getattr(self, name).requests()]
        self.assertLessEqual(len(asked), 1)
        take.dictated = take.text
        if asked:
            [(take.model, request)] = asked
            take.prompt = request["system"]
            take.dictated = re.search(r'"""\n([^"]*)\n"""$', request["user"])[1]
        self.end(take)
        return take

    def refused_take(self):
        """One with a long pause, whose key the recogniser refuses."""
        take = self.begin()
        self.recogniser.misbehave("401")
        with self.recording(take):
            self.clip.followed_by(self.clip, pause=3.5).speak()
        self.fenlo.wait_for("[Fenlo] ERROR: The take came to no words", take.mark)
        takes = self.fenlo.home / ".fenlo/takes"
        take.is_kept = takes.exists() and any(takes.iterdir())
        self.end(take)
        for kept in takes.iterdir() if take.is_kept else []:
            kept.unlink()
        return take

    def begin(self):
        take = Take()
        self.services.forget()
        self.recogniser.answer(WORDS)
        self.gemini.answer(POLISHED)
        self.groq.answer(POLISHED)
        self.editor.activate()
        self.editor.press_end()
        self.listener = Listener(self.folder)
        take.mark = self.fenlo.mark()
        return take

    def recording(self, take):
        """Presses the key that is set, and holds it or presses it again, as is set."""
        return Recording(self.fenlo, take.mark)

    def end(self, take):
        if self.fenlo.settings()["play_sounds"]:  # a busy machine plays them late
            wait_for(lambda: any(map(self.listener.has_heard, (START_TONE, HARP_TONE))), "the tone of the take")
        take.tones = {tone for tone in (START_TONE, HARP_TONE, NUDGE) if self.listener.has_heard(tone)}
        self.listener.close()
        take.log = "\n".join(self.fenlo.log()[take.mark :])
        take.menu = self.panel.menu()

    def entries(self):
        file = self.fenlo.home / ".fenlo/stats.json"
        return len(json.loads(file.read_text())["history"]) if file.exists() else 0

    def microphones(self):
        """A headset without wires is the desktop's microphone, and there is another one on the table."""
        return Microphones()

    def labels(self):
        return {node.name for node in self.page.all("label")}

    def page_colour(self):
        left, top, width, height = self.page.find("heading").place
        return desktop.pixels(left + width - 2, top - 4, 1, 1)[0][0]


class Recording:
    def __init__(self, fenlo, mark):
        settings = fenlo.settings()
        self._fenlo, self._mark = fenlo, mark
        self._is_toggled = settings["continuous_mode"]
        self._key = {"ctrl_l": HOTKEY, "shift_l": "Shift_L"}[settings["hotkey"]]

    def __enter__(self):
        desktop.key_down(self._key)
        if self._is_toggled:
            desktop.key_up(self._key)
        self._fenlo.wait_for("[Fenlo] Recording at", self._mark)

    def __exit__(self, *_):
        if not self._is_toggled:
            desktop.key_up(self._key)
            return
        if self._fenlo.lines("[Fenlo] Stop:", self._mark):
            raise AssertionError("the first release ended the take")
        desktop.press(self._key)


class Microphones:
    def __enter__(self):
        self._default = processes.output(["pactl", "get-default-source"]).strip()
        self._modules = [
            processes.output(
                ["pactl", "load-module", "module-remap-source", f"master={self._default}", f"source_name={name}",
                 f"source_properties=device.description={label}"]
            ).strip()
            for name, label in (("bluez_input.headset", "Headset"), ("table", "Table"))
        ]  # fmt: skip
        processes.output(["pactl", "set-default-source", "bluez_input.headset"])

    def __exit__(self, *_):
        processes.output(["pactl", "set-default-source", self._default])
        for module in self._modules:
            processes.output(["pactl", "unload-module", module])


if __name__ == "__main__":
    unittest.main()
