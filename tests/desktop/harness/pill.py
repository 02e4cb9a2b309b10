"""What the screen shows of the status pill."""

from . import desktop

TOP, HEIGHT = 48, 34
BODY = (36, 36, 41)  # at its upper edge
RECORDING = (255, 82, 82)  # colours of the dot
PROCESSING = (255, 184, 71)
COMMAND = (148, 102, 255)
_REACH = 300  # the widest pill expected, to each side of the middle


def dot():
    """The colour of the pill's dot; none when no pill shows."""
    middle = desktop.screen_size()[0] // 2
    return dot_in(desktop.pixels(middle - _REACH, TOP, 2 * _REACH, HEIGHT))


def dot_in(rows):
    """The same in a picture of the pill's place."""
    for colour in (RECORDING, PROCESSING, COMMAND):
        if sum(_alike(pixel, colour) for row in rows for pixel in row) >= 9:
            return colour
    return None


def width():
    """The width of the pill in pixels, 0 when none shows."""
    middle = desktop.screen_size()[0] // 2
    left, right = edges_in(desktop.pixels(middle - _REACH, TOP + 4, 2 * _REACH, 1)[0])
    return right - left


def has_words():
    """Whether words stand in the pill's right half, which has nothing else."""
    middle = desktop.screen_size()[0] // 2
    rows = desktop.pixels(middle, TOP, width() // 2 - HEIGHT // 2, HEIGHT)
    return sum(min(pixel) > 130 for row in rows for pixel in row) > 20


def edges_in(row):
    """The first and the last column of the pill's body in a row of its upper edge; twice 0 when none shows."""
    body = [column for column, pixel in enumerate(row) if is_body(pixel)]
    return (body[0], body[-1]) if body else (0, 0)


def is_body(pixel):
    return _alike(pixel, BODY)


def centre():
    """The middle of the pill on the screen."""
    return desktop.screen_size()[0] // 2, TOP + HEIGHT // 2


def _alike(pixel, colour):
    # The dot pulses, and its rim is mixed with the background.
    return all(abs(a - b) <= 24 for a, b in zip(pixel, colour))
