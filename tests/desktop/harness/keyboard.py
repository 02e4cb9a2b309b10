"""A keyboard on a Wayland desktop, which lasts and can hold keys."""

import os

from . import processes
from .wayland import WaylandClient, milliseconds

_CODES = {
    "Escape": 1, "BackSpace": 14, "Tab": 15, "Return": 28, "space": 57, "Delete": 111, "Home": 102, "End": 107,
    "Left": 105, "Right": 106, "Pause": 119, "F12": 88, "F13": 183,
    "Control_L": 29, "Control_R": 97, "Shift_L": 42, "Shift_R": 54, "Alt_L": 56, "Alt_R": 100, "Super_L": 125,
}  # fmt: skip
_CODES |= {letter: code for row, first in (("1234567890", 2), ("qwertyuiop", 16), ("asdfghjkl", 30), ("zxcvbnm", 44))
           for code, letter in enumerate(row, first)}  # fmt: skip
_CODES |= {"-": 12, "=": 13, ",": 51, ".": 52, "/": 53, ";": 39, "'": 40, " ": 57, "\n": 28}
_MASKS = {"Shift_L": 1, "Shift_R": 1, "Control_L": 4, "Control_R": 4, "Alt_L": 8, "Alt_R": 8, "Super_L": 64}


class Keyboard:
    """Keys are named as X names them; letters stand for the places of a US keyboard, whatever the layout is."""

    def __init__(self, layout="us", variant=""):
        self._held = []
        self._client = WaylandClient("wl_seat", "zwp_virtual_keyboard_manager_v1")
        self._client.send("zwp_virtual_keyboard_manager_v1", 0, self._client.number("wl_seat"), self._client.new("keyboard"))
        self.set_layout(layout, variant)

    def set_layout(self, layout, variant=""):
        names = ["--layout", layout, *(["--variant", variant] if variant else [])]
        keymap = processes.output(["xkbcli", "compile-keymap", *names]).encode() + b"\0"
        memory = os.memfd_create("keymap")
        os.write(memory, keymap)
        self._client.send("keyboard", 0, 1, len(keymap), descriptor=memory)
        os.close(memory)

    def down(self, key):
        self._held.append(key)
        self._key(key, 1)

    def up(self, key):
        self._held.remove(key)
        self._key(key, 0)

    def press(self, *chords):
        """Types keys or chords such as "Return" or "Shift_L+a", one after the other."""
        for chord in chords:
            keys = chord.split("+")
            for key in keys:
                self.down(key)
            for key in reversed(keys):
                self.up(key)

    def type(self, text):
        for letter in text:
            self.press(f"Shift_L+{letter.lower()}" if letter.isupper() else letter)

    def close(self):
        self._client.close()

    def _key(self, key, state):
        self._client.send("keyboard", 1, milliseconds(), _CODES[key], state)
        if key in _MASKS:
            mask = 0
            for held in self._held:
                mask |= _MASKS.get(held, 0)
            self._client.send("keyboard", 2, mask, 0, 0, 0)
