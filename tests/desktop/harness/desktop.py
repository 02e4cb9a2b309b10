"""The hands and eyes of a user: keys, pointer, keyboard layout, clipboard, windows and the pixels of the screen."""

import contextlib
import subprocess

from . import processes
from .waiting import wait_for

# By code, because xdotool presses the left twin as well when it is asked for a right one by name.
RIGHT_CONTROL = "105"
RIGHT_ALT = "108"


def press(*keys):
    """Types keys or chords such as "Return" or "Shift_L+a", one after the other."""
    processes.output(["xdotool", "key", *keys])


def type_text(text):
    """Types the text key by key."""
    processes.output(["xdotool", "type", "--delay", "5", "--", text], patience=60.0)


def key_down(key):
    processes.output(["xdotool", "keydown", key])


def key_up(key):
    processes.output(["xdotool", "keyup", key])


@contextlib.contextmanager
def held(key):
    key_down(key)
    try:
        yield
    finally:
        key_up(key)


def click(x, y):
    processes.output(["xdotool", "mousemove", str(x), str(y), "click", "1"])


def wheel_up(x, y, notches):
    processes.output(["xdotool", "mousemove", str(x), str(y), "click", "--repeat", str(notches), "--delay", "50", "4"])


@contextlib.contextmanager
def keyboard_layout(layout, variant=""):
    """Another keyboard layout for a while."""
    processes.output(["setxkbmap", "-layout", layout, "-variant", variant])
    try:
        yield
    finally:
        processes.output(["setxkbmap", "-layout", "us", "-variant", ""])


@contextlib.contextmanager
def key_named(keysym, keycode):
    """A key that sends the named symbol, for keyboards that have such a key."""
    processes.output(["xmodmap", "-e", f"keycode {keycode} = {keysym}"])
    try:
        yield str(keycode)
    finally:
        processes.output(["xmodmap", "-e", f"keycode {keycode} ="])


def shortcut(key):
    """Types Control and the key; the right Control, because the left one is the hotkey."""
    press(f"{RIGHT_CONTROL}+{key}")


def clipboard():
    """The text on the clipboard; none when nobody answers."""
    try:
        result = subprocess.run(["xclip", "-selection", "clipboard", "-o"], capture_output=True, timeout=5)
    except subprocess.TimeoutExpired:
        return None
    return result.stdout.decode(errors="replace") if result.returncode == 0 else None


@contextlib.contextmanager
def clipboard_holding(text):
    """Another program that owns the clipboard, until something takes the clipboard from it."""
    owner = processes.start(["xclip", "-quiet", "-selection", "clipboard", "-i"], stdin=subprocess.PIPE,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)  # fmt: skip
    try:
        owner.stdin.write(text.encode())
        owner.stdin.close()
        wait_for(lambda: clipboard() == text, "the clipboard's owner")
        yield owner
    finally:
        processes.end(owner)


def active_window():
    try:
        return int(processes.output(["xdotool", "getactivewindow"]))
    except subprocess.CalledProcessError:
        return None


def windows_of(pid):
    """Visible windows of the process."""
    return _search("--pid", str(pid))


def windows_named(title):
    """Visible windows of this title, for programs that do not tell their process."""
    return _search("--name", f"^{title}$")


def geometry(window):
    """Left, top, width and height of a window, in pixels of the screen."""
    shell = processes.output(["xdotool", "getwindowgeometry", "--shell", str(window)])
    values = dict(line.split("=") for line in shell.splitlines())
    return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))


def _search(*criteria):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", *criteria], capture_output=True, text=True)
    return [int(window) for window in found.stdout.split()]


def activate(window):
    """Brings the window to the front and returns when it has the keyboard."""

    def is_active():
        if active_window() == window:
            return True
        processes.succeeds(["xdotool", "windowactivate", str(window)])
        return False

    wait_for(is_active, f"window {window} in front")


def screen_size():
    width, height = processes.output(["xdotool", "getdisplaygeometry"]).split()
    return int(width), int(height)


def pixels(x, y, width, height):
    """The rows of a piece of the screen, each a list of (red, green, blue)."""
    command = ["import", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "-depth", "8", "rgb:-"]
    raw = subprocess.run(command, check=True, capture_output=True, timeout=30).stdout
    row = 3 * width
    return [
        [tuple(raw[line + 3 * column : line + 3 * column + 3]) for column in range(width)]
        for line in range(0, row * height, row)
    ]


def save_screenshot(file):
    file.parent.mkdir(parents=True, exist_ok=True)
    processes.output(["import", "-window", "root", str(file)])
