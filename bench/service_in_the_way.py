"""Measures what the deployment's own service costs a take when it is not there, refuses, hangs or answers, with the
recogniser's key in the keyring. To be run by hand, on a machine at rest:

    scripts/virtual-desktop /usr/bin/python3 bench/service_in_the_way.py PROGRAM SERVICES
"""

import http.server
import json
import re
import socket
import statistics
import sys
import tempfile
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "desktop"))

from desktop_latency import TimedLines  # noqa: E402
from harness import desktop, processes  # noqa: E402
from harness.fenlo import HOTKEY, PASTED, Fenlo  # noqa: E402
from harness.keyring import Keyring  # noqa: E402
from harness.services import Services  # noqa: E402
from harness.sound import Clip  # noqa: E402
from harness.targets import Editor  # noqa: E402

TAKES = 5
SENTENCE = "The quick brown fox jumps over the lazy dog"


class Answering(http.server.BaseHTTPRequestHandler):
    """A service that knows everybody and has another key."""

    def do_GET(self):
        self.do_POST()

    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length") or 0))
        body = json.dumps({"token": "t", "groq_api_key": "gsk_of_the_service"}).encode()
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


def refusing():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return f"http://127.0.0.1:{server.getsockname()[1]}", None


def hanging():
    """Takes every connection and says nothing."""
    server = socket.create_server(("127.0.0.1", 0), backlog=100)
    return f"http://127.0.0.1:{server.getsockname()[1]}", server


def answering():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answering)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http://127.0.0.1:{server.server_port}", server


def release_to_paste(log, clip):
    pressed = time.monotonic()
    with desktop.held(HOTKEY):
        clip.speak()
    released, _ = log.first(r"\[Fenlo\] Hotkey released", pressed)
    pasted, _ = log.first(re.escape(PASTED), released)
    time.sleep(1.3)  # the clipboard is put back
    return pasted - released


def measure(program, services, folder, address):
    folder.mkdir()
    deployment = {"service_host": address, "apple_services_id": ""}  # nobody signs in
    fenlo = Fenlo(program, folder, services, environment={"GROQ_API_KEY": None}, deployment=deployment)
    clip = Clip(SENTENCE, folder)
    log = TimedLines(["tail", "-n", "0", "-F", "-s", "0.002", str(fenlo.log_file)])
    time.sleep(0.5)
    times = [release_to_paste(log, clip) for _ in range(TAKES)]
    fenlo.close()
    return times


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        scratch = Path(scratch)
        keyring = Keyring(scratch)
        processes.output([sys.argv[1], "keys", "set", "groq"], input="gsk_of_the_user\n")
        services = Services(sys.argv[2], scratch, SENTENCE)
        Editor(scratch)
        kinds = {"none": lambda: ("", None), "refuses": refusing, "hangs": hanging, "answers": answering}
        for name, make in kinds.items():
            address, kept = make()
            times = [1000 * one for one in measure(sys.argv[1], services, scratch / name, address)]
            median = statistics.median(times)
            print(f"service {name:10} first {times[0]:5.0f} ms, median {median:5.0f} ms, worst {max(times):5.0f} ms")
        keyring.close()
