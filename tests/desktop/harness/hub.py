"""The stand-in for the model hub, on the loopback interface."""

import shutil
import signal

from . import processes
from .waiting import wait_for

REPOSITORY = "fenlo/models"


class Hub:
    """Offers one model under a name of the test's choice. Downloads stall in the middle until resume()."""

    def __init__(self, program, folder, model, name, stall_after):
        repositories = folder / "repositories"
        shutil.copytree(model, repositories / REPOSITORY / name)
        port_file = folder / "hub.port"
        self._process = processes.start(
            [program, "--folder", repositories, "--port-file", port_file, "--stall-after", stall_after]
        )
        port = wait_for(lambda: port_file.exists() and port_file.read_text().strip(), "the hub's port")
        self.address = f"http://127.0.0.1:{port}"

    def resume(self):
        self._process.send_signal(signal.SIGUSR1)

    def close(self):
        processes.end(self._process)
