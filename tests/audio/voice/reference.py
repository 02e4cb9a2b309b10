#!/usr/bin/env python3
"""Computes the reference values of FeaturesTest.cpp with plain sums, straight from the definitions."""

import cmath
import math

RATE = 16000


def test_signal():
    """Noise, dull for one half and bright for the other, with a nearly silent stretch in each."""
    state, last, samples = 1, 0.0, []
    for i in range(8192):
        state = (state * 1664525 + 1013904223) % 2**32
        noise = (state >> 8) / 2**24 - 0.5
        gain = 2**-8 if i % 4096 >= 2048 else 0.5
        samples.append(gain * (noise + last if i < 4096 else noise - last))
        last = noise
    return samples


def powers(frame):
    """Squared magnitudes of the packed transform of twice the scale."""
    n = len(frame)
    windowed = [x * (0.54 - 0.46 * math.cos(2 * math.pi * i / n)) for i, x in enumerate(frame)]
    turn = [cmath.exp(-2j * math.pi * i / n) for i in range(n)]
    spectrum = [2 * sum(x * turn[i * k % n] for i, x in enumerate(windowed)) for k in range(n // 2 + 1)]
    return [abs(spectrum[0])**2 + abs(spectrum[-1])**2] + [abs(x)**2 for x in spectrum[1:-1]] + [0.0]


def loud_frames(samples, length, hop):
    for start in range(0, len(samples) - length + 1, hop):
        frame = samples[start:start + length]
        if math.sqrt(sum(x * x for x in frame) / length) >= 0.01:
            yield frame


def percentile(values, p):
    values = sorted(values)
    i = (len(values) - 1) * p / 100
    low = int(i)
    return (1 - (i - low)) * values[low] + (i - low) * values[min(len(values) - 1, low + 1)]


def filterbank(filters, size, rate):
    nyquist = rate / 2
    top = 2595 * math.log10(1 + nyquist / 700)
    hertz = [(10**(i * top / (filters + 1) / 2595) - 1) * 700 for i in range(filters + 2)]
    bins = [int(h / nyquist * (size // 2)) for h in hertz]
    bank = []
    for left, centre, right in zip(bins, bins[1:], bins[2:]):
        row = [0.0] * (size // 2 + 1)
        for k in range(left, centre):
            row[k] = (k - left) / (centre - left)
        for k in range(centre, min(right, size // 2 + 1)):
            row[k] = (right - k) / (right - centre)
        bank.append(row)
    return bank


def main():
    samples = test_signal()
    centroids = []
    for frame in loud_frames(samples, 1024, 512):
        power = powers(frame)
        centroids.append(sum(p * i * RATE / 1024 for i, p in enumerate(power)) / sum(power))
    mean = sum(centroids) / len(centroids)
    deviation = math.sqrt(sum((c - mean)**2 for c in centroids) / len(centroids))
    print("centroid", round(percentile(centroids, 50), 3), round(deviation, 3))

    bank = filterbank(26, 512, RATE)
    total, count = [0.0] * 13, 0
    for frame in loud_frames(samples, 512, 256):
        power = powers(frame)
        logs = [math.log(max(1e-10, sum(w * p for w, p in zip(row, power)))) for row in bank]
        for k in range(13):
            total[k] += sum(v * math.cos(math.pi * k * (n + 0.5) / 26) for n, v in enumerate(logs))
        count += 1
    print("mfcc", [round(t / count, 4) for t in total])

    for filters, size, rate in (26, 512, 16000), (40, 256, 8000):
        rows = filterbank(filters, size, rate)
        # A row by its first bin that counts, how many do, and their sum; the sum of all squares for the shape.
        for number in 0, 1, filters // 2, filters - 1:
            count = [k for k, w in enumerate(rows[number]) if w]
            print("filter", filters, number, count[0] if count else None, len(count), round(sum(rows[number]), 5))
        print("squares", round(sum(w * w for row in rows for w in row), 4))


if __name__ == "__main__":
    main()
