"""Shows a whole dictation on the virtual desktop: speech into the microphone, text in an editor.

usage: scripts/virtual-desktop python3 tests/desktop/show.py PROGRAM RECOGNISER SCREENSHOT
"""

import sys
import tempfile
from pathlib import Path

from harness import desktop, pill
from harness.fenlo import HOTKEY, Fenlo
from harness.recogniser import Recogniser
from harness.sound import Clip
from harness.targets import Editor
from harness.waiting import wait_for

WORDS = "Hold a key, speak, let go, and the words stand at the cursor"


def show(program, stand_in, screenshot, folder):
    print("stand-in: a loopback recogniser answers in place of the cloud service; everything else is real")
    recogniser = Recogniser(stand_in, folder, WORDS)
    fenlo = Fenlo(program, folder, recogniser)
    editor = Editor(folder)
    print(f"speaking into the virtual microphone while {HOTKEY} is held: {WORDS!r}")
    mark = fenlo.mark()
    with desktop.held(HOTKEY):
        wait_for(lambda: pill.dot() == pill.RECORDING, "the recording pill")
        Clip(WORDS, folder).speak()
    fenlo.wait_for_paste(mark)
    desktop.save_screenshot(screenshot)
    try:
        editor.wait_for_text(WORDS)
        print(f"in the editor: {editor.text()!r}")
        [upload] = recogniser.requests()
        print(f"uploaded: {upload['audio']['bytes'] // 1024} KB of audio; screenshot: {screenshot}")
    finally:
        print("the program's log:", *fenlo.log(), sep="\n  ")
        for process in (editor, fenlo, recogniser):
            process.close()


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        try:
            show(sys.argv[1], sys.argv[2], sys.argv[3], Path(scratch))
        except AssertionError as fault:
            sys.exit(f"the dictation did not land: {fault}")
