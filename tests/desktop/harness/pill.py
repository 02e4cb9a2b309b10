"""What the screen shows of the status pill."""

from . import desktop

TOP, HEIGHT = 48, 34
BODY = (36, 36, 41)  # at its upper edge
RECORDING = (255, 82, 82)  # colours of the dot
PROCESSING = (255, 184, 71)
COMMAND = (148, 102, 255)
_REACH = 200  # the widest pill expected, to each side of the middle


def dot():
    """The colour of the pill's dot; none when no pill shows."""
    middle = desktop.screen_size()[0] // 2
    rows = desktop.pixels(middle - _REACH, TOP, 2 * _REACH, HEIGHT)
    for colour in (RECORDING, PROCESSING, COMMAND):
        if sum(_alike(pixel, colour) for row in rows for pixel in row) >= 9:
            return colour
    return None


def width():
    """The width of the pill in pixels, 0 when none shows."""
    middle = desktop.screen_size()[0] // 2
    [row] = desktop.pixels(middle - _REACH, TOP + 4, 2 * _REACH, 1)
    body = [column for column, pixel in enumerate(row) if _alike(pixel, BODY)]
    return body[-1] - body[0] if body else 0


def centre():
    """The middle of the pill on the screen."""
    return desktop.screen_size()[0] // 2, TOP + HEIGHT // 2


def _alike(pixel, colour):
    # The dot pulses, and its rim is mixed with the background.
    return all(abs(a - b) <= 24 for a, b in zip(pixel, colour))
