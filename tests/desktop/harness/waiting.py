"""Waiting for a condition instead of for a time."""

import time

PATIENCE = 15.0  # seconds; generous, because a loaded machine is slow and a passed wait costs nothing


class WaitedInVain(AssertionError):
    """The condition did not come true in time."""


def wait_for(condition, what, patience=PATIENCE):
    """Returns the first true value of condition(); fails with `what` as the reason when none comes."""
    deadline = time.monotonic() + patience
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise WaitedInVain(f"waited {patience:g} s in vain for {what}")
        time.sleep(0.02)
