"""A desktop session of its own: screen, window manager, buses, sound and home, gone without a trace afterwards."""

import os
import shutil
import signal
import subprocess
import tempfile
from pathlib import Path

from . import processes, sound
from .waiting import wait_for

SCREEN = "1280x800x24"
_SERVICES = Path("/usr/share/dbus-1/services")
_BUS = """<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><servicedir>{services}</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>"""
_ENABLE_ACCESSIBILITY = [
    "dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
    "org.freedesktop.DBus.Properties.Set",
    "string:org.a11y.Status", "string:IsEnabled", "variant:boolean:true",
]  # fmt: skip


class Session:
    """Sets this process's environment to a fresh desktop; end() takes the desktop down."""

    def __init__(self, screen=SCREEN):
        self._size = screen
        processes.adopt_orphans()
        self.folder = Path(tempfile.mkdtemp(prefix="virtual-desktop-"))
        self._log = open(self.folder / "session.log", "w")
        self._running = []

    def start(self):
        self._make_folders()
        self._start_bus()
        self._start_screen()
        wait_for(lambda: processes.succeeds(_ENABLE_ACCESSIBILITY), "the accessibility bus")
        self._running.append(sound.start_server(self._log))

    def end(self):
        for process in reversed(self._running):
            processes.end(process, patience=2.0)
        _kill_descendants()
        self._log.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def log(self):
        return (self.folder / "session.log").read_text(errors="replace")

    def _make_folders(self):
        home, runtime = self.folder / "home", self.folder / "runtime"
        home.mkdir()
        runtime.mkdir(mode=0o700)
        for name in ("XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "WAYLAND_DISPLAY",
                     "XDG_SESSION_TYPE", "AT_SPI_BUS_ADDRESS", "XAUTHORITY"):  # fmt: skip
            os.environ.pop(name, None)
        os.environ.update(
            HOME=str(home),
            XDG_RUNTIME_DIR=str(runtime),
            PULSE_SERVER=f"unix:{runtime}/pulse/native",
            GSETTINGS_BACKEND="memory",
            LC_ALL="C.UTF-8",
        )

    def _start_screen(self):
        # Without -noreset the server starts over when its last client leaves, and shuts out one that is just coming.
        screen = ("-screen", "0", self._size, "-noreset", "-nolisten", "tcp")
        number = self._start_and_read("Xvfb", "-displayfd", "{fd}", *screen)
        os.environ["DISPLAY"] = f":{number}"
        self._start("openbox")
        wait_for(lambda: "window id" in self._root_property("_NET_SUPPORTING_WM_CHECK"), "the window manager")

    def _start_bus(self):
        # The machine's services can be started, but no portal: what a test finds does not hang on which are installed.
        services = self.folder / "services"
        services.mkdir()
        for service in _SERVICES.glob("*.service"):
            if "portal" not in service.name:
                (services / service.name).symlink_to(service)
        configuration = self.folder / "bus.conf"
        configuration.write_text(_BUS.format(services=services))
        command = ["dbus-daemon", f"--config-file={configuration}", "--nofork", "--print-address={fd}"]
        address = self._start_and_read(*command)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = address

    def _start(self, *command, **options):
        self._running.append(processes.start(command, stdout=self._log, stderr=self._log, **options))

    def _start_and_read(self, *command):
        """Starts a server that tells its address on the file descriptor {fd}, and returns that address."""
        reading, writing = os.pipe()
        self._start(*(part.format(fd=writing) for part in command), pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as pipe:
            address = pipe.readline().strip()
        if not address:
            raise RuntimeError(f"{command[0]} did not start:\n{self.log()}")
        return address

    @staticmethod
    def _root_property(name):
        return subprocess.run(["xprop", "-root", name], capture_output=True, text=True).stdout


def _kill_descendants():
    """Ends what programs on the desktop left behind; they are this process's children by now."""
    children = Path(f"/proc/self/task/{os.getpid()}/children")
    while pids := children.read_text().split():
        for pid in pids:
            os.kill(int(pid), signal.SIGKILL)
            os.waitpid(int(pid), 0)
