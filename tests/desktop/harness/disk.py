"""Disks that are small, full or read-only."""

from . import processes


def mount_small(test, folder, size):
    """A disk of this size in place of what the folder holds, until the test ends."""
    folder.mkdir(exist_ok=True)
    if not processes.succeeds(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", folder]):
        test.skipTest("only root may mount a small disk")
    test.addCleanup(processes.succeeds, ["umount", "-l", folder])


def fill(folder):
    """Takes all the room that is left. Returns the file that has it."""
    filler = folder / "filler"
    with open(filler, "wb", buffering=0) as file:
        for piece in (bytes(1 << 20), bytes(4096)):
            try:
                while file.write(piece) == len(piece):
                    pass
            except OSError:
                continue
    return filler


def make_read_only(test, folder):
    """From now on, also for programs that run; until the function that is returned is called."""
    if not processes.succeeds(["mount", "--bind", folder, folder]):
        test.skipTest("only root may mount")
    test.addCleanup(processes.succeeds, ["umount", "-l", folder])
    processes.output(["mount", "-o", "remount,bind,ro", str(folder)])
    return lambda: processes.output(["mount", "-o", "remount,bind,rw", str(folder)])
