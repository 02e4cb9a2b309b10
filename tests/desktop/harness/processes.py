"""Starting and ending child processes so that none outlives its parent."""

import ctypes
import os
import re
import signal
import subprocess
from pathlib import Path

_SET_PARENT_DEATH_SIGNAL = 1
_SET_CHILD_SUBREAPER = 36
_libc = ctypes.CDLL(None)


def _die_with_parent():
    _libc.prctl(_SET_PARENT_DEATH_SIGNAL, signal.SIGKILL)


def adopt_orphans():
    """Makes this process the parent of every descendant whose own parent ends, so that it can end them too."""
    _libc.prctl(_SET_CHILD_SUBREAPER, 1)


def start(command, **options):
    """Like subprocess.Popen, but the child is killed when this process is."""
    return subprocess.Popen([str(part) for part in command], preexec_fn=_die_with_parent, **options)


def environment(**changes):
    """This process's environment with changes."""
    return {**os.environ, **changes}


def end(process, patience=5.0):
    """Asks the process to end, insists when it does not, and returns its exit code."""
    if process.poll() is None:
        process.send_signal(signal.SIGCONT)
        process.terminate()
        try:
            process.wait(patience)
        except subprocess.TimeoutExpired:
            process.kill()
    return process.wait()


def output(command, patience=15.0, **options):
    """What the command writes to standard output; raises when it fails, and tells what it wrote to standard error."""
    try:
        return subprocess.run(command, check=True, timeout=patience, text=True, capture_output=True, **options).stdout
    except subprocess.CalledProcessError as fault:
        fault.add_note(fault.stderr)
        raise


def succeeds(command, patience=15.0, **options):
    """Whether the command ends in time and without an error."""
    try:
        result = subprocess.run(
            command, timeout=patience, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options
        )
    except subprocess.TimeoutExpired:
        return False
    return result.returncode == 0


def memory(pid):
    """What the process has in memory, in megabytes: with all that it shares, since its part depends on who else runs."""
    return int(re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{pid}/status").read_text()).group(1)) // 1024


def peak_memory(pid):
    """The most memory that the process has held so far, in megabytes."""
    return int(re.search(r"VmHWM:\s+(\d+)", Path(f"/proc/{pid}/status").read_text()).group(1)) // 1024
