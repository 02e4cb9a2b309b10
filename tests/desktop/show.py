"""Shows a whole dictation on the virtual desktop: speech into the microphone, text in an editor.

usage: scripts/virtual-desktop python3 tests/desktop/show.py PROGRAM SCREENSHOT
"""

import sys
import tempfile
from pathlib import Path

from harness import desktop, pill
from harness.fenlo import HOTKEY, OFFLINE_MODEL, Fenlo
from harness.sound import Clip
from harness.targets import Editor
from harness.waiting import wait_for

WORDS = "The quick brown fox jumps over the lazy dog near the riverbank"


def show(program, screenshot, folder):
    print("The engine on this machine recognises the speech; nothing leaves it, and nothing stands in.")
    print(f"Its model {OFFLINE_MODEL} is a demonstration: it knows synthetic voices and some 600 words.")
    fenlo = Fenlo(program, folder, None, {"offline_mode": True})
    editor = Editor(folder)
    fenlo.wait_for("[Fenlo] LocalTranscriber: Ready", patience=60)
    print(f"speaking into the virtual microphone while {HOTKEY} is held: {WORDS!r}")
    mark = fenlo.mark()
    with desktop.held(HOTKEY):
        wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
        Clip(WORDS, folder, "en-us").speak()
    fenlo.wait_for_paste(mark)
    desktop.save_screenshot(screenshot)
    try:
        editor.wait_for_text(WORDS)
        print(f"in the editor: {editor.text()!r}")
        print(f"screenshot: {screenshot}")
    finally:
        print("the program's log:", *fenlo.log(), sep="\n  ")
        for process in (editor, fenlo):
            process.close()


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        try:
            show(sys.argv[1], sys.argv[2], Path(scratch))
        except AssertionError as fault:
            sys.exit(f"the dictation did not land: {fault}")
