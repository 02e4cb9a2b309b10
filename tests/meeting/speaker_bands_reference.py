#!/usr/bin/env python3
"""Computes the reference values of SpeakerBandsTest.cpp with plain sums, straight from the definitions."""

import math
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "audio/voice"))
from reference import loud_frames, powers, test_signal  # noqa: E402

EDGES = [0, 100, 200, 350, 530, 750, 1000, 1400, 1850, 2400, 3100, 4000, 5200, 6800]


def bins(band, width):
    """The first and the last value of the spectrum that count for a band; nothing where it has none."""
    start, end = int(EDGES[band] / width), int(EDGES[band + 1] / width)
    if end >= 511:
        return (max(start, 1), 511) if start < 511 else None
    return (max(start, 1), end) if max(start, 1) < end else None


def bands(samples, rate):
    sums, frames = [0.0] * 13, 0
    for frame in loud_frames(samples, 1024, 512):
        power = powers(frame)
        for band in range(13):
            if found := bins(band, rate / 1024):
                values = power[found[0]:found[1] + 1]
                sums[band] += sum(values) / len(values)
        frames += 1
    return [math.log(max(total / frames, 1e-10)) for total in sums]


for rate in 16000, 8000, 96000:
    print(rate, ", ".join(f"{band:.5f}" for band in bands(test_signal(), rate)))
