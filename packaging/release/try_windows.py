"""usage: scripts/virtual-desktop python3 try_windows.py PROGRAM [UPDATE...]

Opens every page of the window, and looks at what X is told. UPDATE is a command that runs before the first window opens.
"""

import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests" / "desktop"))

from harness import desktop, screen  # noqa: E402
from harness.fenlo import Fenlo  # noqa: E402


def try_windows(program, update, folder):
    fenlo = Fenlo(program, folder, None)
    try:
        if update:
            subprocess.run(update, check=True)
        home = fenlo.open_home()
        shown = list(screen.pages(home))
        window = desktop.windows_named("Fenlo")[0]
        told = subprocess.run(["xprop", "-id", str(window), "WM_CLASS"], capture_output=True, text=True, check=True).stdout
        entry = (fenlo.home / ".config/autostart/org.fenlo.Fenlo.desktop").read_text()
        faults = [line for line in fenlo.errors().splitlines() if "qrc:" in line or "cannot be shown" in line]
    finally:
        fenlo.close()
    print(f"{len(shown)} pages; {told.strip()}; at login {[line for line in entry.splitlines() if line.startswith('Exec')]}")
    if faults or len(shown) < 10 or '"Fenlo"' not in told:
        raise AssertionError("\n".join(faults) or f"{shown} {told}")


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        try_windows(sys.argv[1], sys.argv[2:], Path(scratch))
