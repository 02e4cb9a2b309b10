"""A server of updates, and a desktop on which this program is installed as a package."""

import contextlib
import http.server
import os
import subprocess
import threading
from pathlib import Path

from . import processes

_SIGN = Path(__file__).resolve().parents[3] / "scripts" / "sign-update"
_FEED = (
    '<?xml version="1.0"?><rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">'
    "<channel><title>Fenlo</title>{}</channel></rss>"
)


class UpdateServer:
    """Publishes packages as their makers do, and can then do harm to what it gives out."""

    def __init__(self, folder):
        self._folder = folder / "updates"
        self._folder.mkdir()
        self._key = self._folder / "key.pem"
        self.pages = {}  # what is at each path
        self._stalled = {}
        public = processes.output([str(_SIGN), "key", str(self._key)]).strip()
        handler = type("Handler", (_Handler,), {"server_of": self})
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        self.address = f"http://127.0.0.1:{self._server.server_port}"
        self.deployment = {"update_feed": f"{self.address}/feed.xml", "update_key": public}

    def publish(self, version, notes, megabytes=1):
        """Puts a package of this version and its entry in the feed onto the server. Returns the package's path there."""
        tree = self._folder / f"tree-{version}"
        (tree / "DEBIAN").mkdir(parents=True)
        (tree / "DEBIAN/control").write_text(
            f"Package: fenlo\nVersion: {version}\nArchitecture: {_architecture()}\n"
            "Maintainer: Fenlo <fenlo@example.org>\nDescription: voice dictation\n"
        )
        (tree / "content").write_bytes(os.urandom(megabytes << 20))
        package = self._folder / f"fenlo_{version}_{_architecture()}.deb"
        processes.output(["dpkg-deb", "--root-owner-group", "-Znone", "--build", str(tree), str(package)])
        text = self._folder / "notes"
        text.write_text(notes)
        item = processes.output([str(_SIGN), "item", str(self._key), str(package), self.address, str(text)])
        self.pages["/feed.xml"] = _FEED.format(item).encode()
        path = f"/{package.name}"
        self.pages[path] = package.read_bytes()
        return path

    def stall(self, path):
        """From now on the half of it comes, until the event that this returns is set."""
        self._stalled[path] = threading.Event()
        return self._stalled[path]

    def pause(self, path):
        if path in self._stalled:
            self._stalled[path].wait(60)

    def close(self):
        for event in self._stalled.values():
            event.set()
        self._server.shutdown()
        self._server.server_close()


class _Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        content = self.server_of.pages.get(self.path, b"")
        self.send_response(200 if content else 404)
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        with contextlib.suppress(ConnectionError):  # who downloads may have had enough
            self.wfile.write(content[: len(content) // 2])
            self.server_of.pause(self.path)
            self.wfile.write(content[len(content) // 2 :])

    def log_message(self, *_):
        pass


class PackagedDesktop:
    """Stands in for dpkg's list of what is installed, and for the desktop's program for packages, in a program that is started
    with `environment`."""

    def __init__(self, folder, program):
        self._opened = folder / "opened"
        programs = folder / "programs"
        programs.mkdir()
        _write_program(
            programs / "dpkg-query",
            f'case $1 in --search) echo "fenlo: {Path(program).resolve()}" ;;\n'
            f"*) printf 'Package: fenlo\\nVersion: 0.1.0\\nArchitecture: {_architecture()}\\n' ;; esac\n",
        )
        installer = folder / "installer"
        _write_program(installer, f'env > "{self._opened}.environment"\nprintf "%s\\n" "$1" >> "{self._opened}"\n')
        self.environment = {
            "PATH": f"{programs}:{os.environ['PATH']}",
            "XDG_DATA_HOME": str(folder / "data"),
            "XDG_CONFIG_HOME": str(folder / "config"),
        }
        applications = folder / "data/applications"
        applications.mkdir(parents=True)
        (applications / "package-installer.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Package Installer\nExec={installer} %f\n"
            "MimeType=application/vnd.debian.binary-package;\n"
        )
        (folder / "config").mkdir()
        (folder / "config/mimeapps.list").write_text(
            "[Default Applications]\napplication/vnd.debian.binary-package=package-installer.desktop\n"
        )

    def opened(self):
        """The files that the installer was given."""
        return [Path(line) for line in self._opened.read_text().splitlines()] if self._opened.exists() else []

    def environment_of_installer(self):
        return Path(f"{self._opened}.environment").read_text()


def _architecture():
    return subprocess.run(["dpkg", "--print-architecture"], capture_output=True, text=True, check=True).stdout.strip()


def _write_program(file, script):
    file.write_text("#!/bin/sh\n" + script)
    file.chmod(0o700)
