"""A Wayland desktop: sway without a screen, and what its user sees and does."""

import contextlib
import json
import os
import shutil
import subprocess
from pathlib import Path

from . import pill, processes
from .keyboard import Keyboard
from .session import Session
from .waiting import WaitedInVain, wait_for

_USER = "65534"  # sway refuses root; whoever owns nothing will do
_CONFIG = """\
xwayland {xwayland}
output HEADLESS-1 resolution {size} position 0 0 scale {scale} bg {ground} solid_color
default_border none
focus_follows_mouse no
seat * hide_cursor 1
exec "$XDG_RUNTIME_DIR/started"
"""


# The X server lets in its own user only.
_STARTED = """\
#!/bin/sh
[ -z "$DISPLAY" ] || xhost +si:localuser:root
cd "$XDG_RUNTIME_DIR" && printf '%s\\n' "$DISPLAY" > display.new && mv display.new display
"""


class Compositor:
    """Sway in a folder of its own; ends with end(). `environment` is what its clients need of it."""

    def __init__(self, folder, log, xwayland=True, size="1280x800", scale="1", ground="#508070"):
        self._place = folder / "sway"
        self._place.mkdir(mode=0o700)
        state = "enable" if xwayland else "disable"
        config = self._write("config", _CONFIG.format(xwayland=state, size=size, scale=scale, ground=ground))
        started = self._write("started", _STARTED)
        command = ["sway", "--config", config]
        if os.geteuid() == 0:
            folder.chmod(0o711)
            for path in (self._place, config, started):
                os.chown(path, int(_USER), int(_USER))
            # The change of the user forgets whose death ends the process.
            command = ["setpriv", f"--reuid={_USER}", f"--regid={_USER}", "--clear-groups", "--pdeathsig=KILL", *command]
        self._process = processes.start(command, env=self._own_environment(), stdout=log, stderr=log)
        display = self._place / "display"
        wait_for(lambda: display.exists() or self._process.poll() is not None, "the compositor")
        if not display.exists():
            raise RuntimeError("sway did not start")
        [socket] = self._place.glob("sway-ipc.*.sock")
        [wayland] = [path for path in self._place.glob("wayland-*") if path.suffix != ".lock"]
        self.environment = {
            "WAYLAND_DISPLAY": str(wayland), "SWAYSOCK": str(socket), "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "sway", "DISPLAY": display.read_text().strip() or None,
        }  # fmt: skip

    @contextlib.contextmanager
    def entered(self):
        """This process's clients come to this desktop meanwhile."""
        before = dict(os.environ)
        self.enter()
        try:
            yield
        finally:
            os.environ.clear()
            os.environ.update(before)

    def enter(self):
        for name, value in self.environment.items():
            os.environ.pop(name, None)
            if value:
                os.environ[name] = value

    def end(self):
        """Ends it under everybody's feet."""
        processes.end(self._process, patience=2.0)

    def _write(self, name, text):
        file = self._place / name
        file.write_text(text)
        file.chmod(0o755)
        return file

    def _own_environment(self):
        return {
            "PATH": os.environ["PATH"], "HOME": str(self._place), "XDG_RUNTIME_DIR": str(self._place),
            "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman", "LC_ALL": "C.UTF-8",
        }  # fmt: skip


class SwaySession(Session):
    """Sets this process's environment to a fresh Wayland desktop. Its keyboard is there as long as the session."""

    def __init__(self, **options):
        super().__init__()
        self._options = options
        self.compositor = None
        self.keyboard = None

    def end(self):
        if self.keyboard:
            self.keyboard.close()
        if self.compositor:
            self.compositor.end()
        super().end()

    def _start_screen(self):
        self.compositor = Compositor(self.folder, self._log, **self._options)
        self.compositor.enter()
        self.keyboard = Keyboard()


def message(*words):
    """Sends a command to sway."""
    processes.output(["swaymsg", "--", *words])


def focused():
    """The id of the application that has the keyboard, an X one's class; none when no window has it."""
    node = _focused(json.loads(processes.output(["swaymsg", "-t", "get_tree"])))
    if not node or node["type"] not in ("con", "floating_con"):
        return None
    return node.get("app_id") or node.get("window_properties", {}).get("class")


def _focused(node):
    if node.get("focused"):
        return node
    return next((found for child in node["nodes"] + node["floating_nodes"] if (found := _focused(child))), None)


def _titles(application):
    """Of the windows of an application of Wayland."""

    def found(node):
        inner = [title for each in node["nodes"] + node["floating_nodes"] for title in found(each)]
        return [node["name"], *inner] if node.get("app_id") == application else inner

    return found(json.loads(processes.output(["swaymsg", "-t", "get_tree"])))


def focus(application):
    """Brings a window of the application to the front, an X one's by its class."""
    criterion = "app_id" if processes.succeeds(["swaymsg", f'[app_id="^{application}$"]', "focus"]) else "class"
    if criterion == "class":
        message(f'[class="^{application}$"] focus')
    wait_for(lambda: focused() == application, f"{application} in front")


def screen_width():
    """In points."""
    [output] = json.loads(processes.output(["swaymsg", "-t", "get_outputs"]))
    return output["rect"]["width"]


def save_screenshot(file):
    file.parent.mkdir(parents=True, exist_ok=True)
    processes.output(["grim", str(file)])


def pixels(x, y, width, height, scale=1):
    """The rows of a piece of the screen, each a list of (red, green, blue), in pixels of this scale."""
    command = ["grim", "-t", "ppm", "-s", str(scale), "-g", f"{x},{y} {width}x{height}", "-"]
    raw = subprocess.run(command, check=True, capture_output=True, timeout=30).stdout
    _, size, _, data = raw.split(b"\n", 3)
    columns, rows = (int(number) for number in size.split())
    return [
        [tuple(data[3 * (row * columns + column) :][:3]) for column in range(columns)] for row in range(rows)
    ]


def pill_dot(scale=1):
    """The colour of the pill's dot on the screen of this scale; none when no pill shows."""
    return pill.dot_in(pixels(screen_width() // 2 - 100, pill.TOP, 200, pill.HEIGHT, scale))


class _Client:
    def __init__(self, application, command, **environment):
        self.application = application
        self.process = processes.start(
            command, env=processes.environment(**environment), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
        )
        wait_for(lambda: focused() == application, f"a window of {application}")

    def close(self):
        processes.end(self.process)


class _Terminal(_Client):
    """A terminal whose program writes down each line that is typed."""

    def __init__(self, folder, application, command):
        self._file = Path(folder) / f"typed in {application}.txt"
        super().__init__(application, [*command, "sh", "-c", f"cat > '{self._file}'"])
        wait_for(self._file.exists, "the program in the terminal")

    def lines(self):
        return self._file.read_text().splitlines()


class Foot(_Terminal):
    """A terminal of Wayland."""

    def __init__(self, folder):
        colours = ["-o", "colors.background=dcdccc", "-o", "colors.foreground=202020"]  # that the pill stands out from
        super().__init__(folder, "foot", ["foot", *colours])


class XTerminal(_Terminal):
    """A terminal of X, in XWayland."""

    def __init__(self, folder):
        super().__init__(folder, "XTerm", ["xterm", "-fa", "DejaVu Sans Mono", "-fs", "12", "-e"])


class Notice(_Client):
    """A window of X with a message, and nothing to type into."""

    def __init__(self, _folder):
        super().__init__("Xmessage", ["xmessage", "Nothing can be typed here"])


class _Editor(_Client):
    def __init__(self, folder, application, command, text, **environment):
        self.file = Path(folder) / f"{application}.txt"
        self.file.write_text(text)
        super().__init__(application, [*command, self.file], **environment)

    def is_changed(self):
        """Whether something stands in it that is not saved; its title tells."""
        return any(title.startswith("*") for title in _titles(self.application))

    def text(self, keyboard):
        """What stands in the editor, which has to be in front. Saves it.

        A GTK program asks the layout of the moment when it gets to a key, not that of the moment of the key: each change of
        the layout waits until the keys before it have done what they are for.
        """
        if self.is_changed():
            keyboard.press("Control_R+s")
            wait_for(lambda: not self.is_changed(), f"{self.application} to save")
        return self.file.read_text().removesuffix("\n")  # some add one

    def wait_for_words(self, expected, keyboard):
        """Compares what stands in the editor, blanks apart. A picture tells what a wrong one looks like."""
        last = None

        def shows():
            nonlocal last
            last = "".join(self.text(keyboard).split())
            return last == expected

        try:
            wait_for(shows, f"{expected!r} in {self.application}")
        except WaitedInVain as fault:
            if folder := os.environ.get("FENLO_SCREENSHOTS"):
                save_screenshot(Path(folder) / f"words_in_{self.application}.png")
            raise WaitedInVain(f"{fault}; it holds {last!r}") from None


class GtkEditor(_Editor):
    def __init__(self, folder, text=""):
        super().__init__(folder, "mousepad", ["mousepad", "--disable-server"], text, GDK_BACKEND="wayland")


class QtEditor(_Editor):
    def __init__(self, folder, text=""):
        program = shutil.which("featherpad")
        super().__init__(folder, "featherpad", [program, "--standalone"], text, QT_QPA_PLATFORM="wayland")
