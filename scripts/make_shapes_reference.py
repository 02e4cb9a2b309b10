#!/usr/bin/python3
"""Makes tests/WhisperEngine/network/shapes_reference.json: what the published Whisper architecture computes for random weights.

An implementation of its own in 64-bit numpy, after the paper and the published description of the checkpoints; it
shares no code with the engine. The weights and the signal come from the generator that RandomCheckpoint.h describes.
Run: scripts/make_shapes_reference.py > tests/WhisperEngine/network/shapes_reference.json
"""
import json
import math
import sys

import numpy as np

SHAPES = [
    dict(d_model=64, encoder_layers=2, encoder_attention_heads=1, encoder_ffn_dim=256, decoder_layers=1,
         decoder_attention_heads=2, decoder_ffn_dim=192, num_mel_bins=80, vocab_size=51865,
         max_source_positions=1500, max_target_positions=448),
    dict(d_model=64, encoder_layers=1, encoder_attention_heads=2, encoder_ffn_dim=192, decoder_layers=2,
         decoder_attention_heads=1, decoder_ffn_dim=256, num_mel_bins=128, vocab_size=51866,
         max_source_positions=1500, max_target_positions=448),
]
SAMPLE_RATE, WINDOW, SOUNDING = 16000, 480000, 320000
SAMPLED = 200  # values of each tensor


def splitmix(name, count):
    """The upper 24 bits of each number."""
    seed = 0xCBF29CE484222325
    for byte in name.encode():
        seed = ((seed ^ byte) * 0x100000001B3) % 2**64
    with np.errstate(over="ignore"):
        z = np.uint64(seed) + np.arange(1, count + 1, dtype=np.uint64) * np.uint64(0x9E3779B97F4A7C15)
        z = (z ^ (z >> np.uint64(30))) * np.uint64(0xBF58476D1CE4E5B9)
        z = (z ^ (z >> np.uint64(27))) * np.uint64(0x94D049BB133111EB)
        z = z ^ (z >> np.uint64(31))
    return z >> np.uint64(40)


def random_numbers(name, count):
    return splitmix(name, count).astype(np.float32) * np.float32(2.0**-23) - np.float32(1)


def weight(name, *shape):
    """A tensor as the checkpoint holds it: rounded to half precision."""
    name = "model." + name
    if name.endswith("encoder.embed_positions.weight"):
        half = shape[1] // 2
        rates = np.exp(-math.log(10000.0) / (half - 1) * np.arange(half))
        angles = np.arange(shape[0])[:, None] * rates[None]
        values = np.concatenate([np.sin(angles), np.cos(angles)], 1)
    else:
        count = math.prod(shape)
        centre, amplitude = 0.0, math.sqrt(3.0 / (count // shape[0]))
        if name.endswith(".bias"):
            amplitude = 0.02
        elif name.endswith("layer_norm.weight"):
            centre, amplitude = 1.0, 0.1
        elif name.endswith("decoder.embed_positions.weight"):
            amplitude = 0.5
        values = np.float32(centre) + np.float32(amplitude) * random_numbers(name, count)
    return values.astype(np.float32).astype(np.float16).astype(np.float64).reshape(shape)


def signal():
    """A sweep from 100 Hz upwards over a little noise, then silence."""
    t = np.arange(SOUNDING) / SAMPLE_RATE
    sweep = (0.3 * np.sin(2 * math.pi * (100 * t + 180 * t * t))).astype(np.float32)
    audio = np.zeros(WINDOW)
    audio[:SOUNDING] = sweep + np.float32(0.02) * random_numbers("signal", SOUNDING)
    return audio


def mel_filters(bands):
    """Slaney's scale: linear to 1000 Hz, logarithmic above; triangles of equal area."""
    def to_mel(hertz):
        return 15 + math.log(hertz / 1000) * 27 / math.log(6.4) if hertz >= 1000 else hertz * 3 / 200

    def to_hertz(mel):
        return 1000 * math.exp(math.log(6.4) / 27 * (mel - 15)) if mel >= 15 else mel * 200 / 3

    edges = [to_hertz(mel) for mel in np.linspace(0, to_mel(8000), bands + 2)]
    bins = np.arange(201) * SAMPLE_RATE / 400
    filters = np.zeros((bands, 201))
    for band in range(bands):
        low, peak, high = edges[band:band + 3]
        triangle = np.minimum((bins - low) / (peak - low), (high - bins) / (high - peak))
        filters[band] = np.maximum(0, triangle) * 2 / (high - low)
    return filters


def log_mel(audio, bands):
    padded = np.pad(audio, 200, mode="reflect")
    frames = np.lib.stride_tricks.sliding_window_view(padded, 400)[::160][:-1]
    hann = 0.5 - 0.5 * np.cos(2 * math.pi * np.arange(400) / 400)
    power = np.abs(np.fft.rfft(frames * hann)) ** 2
    spectrum = np.log10(np.maximum(mel_filters(bands) @ power.T, 1e-10))
    return (np.maximum(spectrum, spectrum.max() - 8) + 4) / 4


erf = np.vectorize(math.erf)


def gelu(x):
    return x / 2 * (1 + erf(x / math.sqrt(2)))


def softmax(x):
    e = np.exp(x - x.max(-1, keepdims=True))
    return e / e.sum(-1, keepdims=True)


def linear(x, name, outputs, bias=True):
    y = x @ weight(name + ".weight", outputs, x.shape[-1]).T
    return y + weight(name + ".bias", outputs) if bias else y


def norm(x, name):
    centred = x - x.mean(-1, keepdims=True)
    scaled = centred / np.sqrt((centred**2).mean(-1, keepdims=True) + 1e-5)
    return scaled * weight(name + ".weight", x.shape[-1]) + weight(name + ".bias", x.shape[-1])


def convolve(x, name, outputs, step):
    """[frames, channels], three frames wide, with a frame of zeros at both ends."""
    kernel = weight(name + ".weight", outputs, x.shape[1], 3)
    padded = np.pad(x, ((1, 1), (0, 0)))
    last = len(padded) - 2
    y = sum(padded[k:last + k:step] @ kernel[:, :, k].T for k in range(3))
    return gelu(y + weight(name + ".bias", outputs))


def attend(x, source, name, heads, causal):
    width = x.shape[1]

    def split(y):
        return y.reshape(len(y), heads, width // heads).transpose(1, 0, 2)

    q = split(linear(x, name + ".q_proj", width)) / math.sqrt(width // heads)
    k = split(linear(source, name + ".k_proj", width, bias=False))
    v = split(linear(source, name + ".v_proj", width))
    scores = q @ k.transpose(0, 2, 1)
    if causal:
        scores = scores + np.triu(np.full(scores.shape[1:], -np.inf), 1)
    mixed = (softmax(scores) @ v).transpose(1, 0, 2).reshape(x.shape)
    return linear(mixed, name + ".out_proj", width)


def feed_forward(x, layer, inner):
    h = gelu(linear(norm(x, layer + "final_layer_norm"), layer + "fc1", inner))
    return x + linear(h, layer + "fc2", x.shape[1])


def encode(mel, c):
    x = convolve(mel.T, "encoder.conv1", c["d_model"], 1)
    x = convolve(x, "encoder.conv2", c["d_model"], 2)
    x = x + weight("encoder.embed_positions.weight", *x.shape)
    for i in range(c["encoder_layers"]):
        layer = f"encoder.layers.{i}."
        h = norm(x, layer + "self_attn_layer_norm")
        x = x + attend(h, h, layer + "self_attn", c["encoder_attention_heads"], causal=False)
        x = feed_forward(x, layer, c["encoder_ffn_dim"])
    return norm(x, "encoder.layer_norm")


def decode(tokens, audio, c):
    """The logits of all positions at once."""
    heads, width = c["decoder_attention_heads"], c["d_model"]
    embedding = weight("decoder.embed_tokens.weight", c["vocab_size"], width)
    x = embedding[tokens]
    x = x + weight("decoder.embed_positions.weight", c["max_target_positions"], width)[:len(tokens)]
    for i in range(c["decoder_layers"]):
        layer = f"decoder.layers.{i}."
        h = norm(x, layer + "self_attn_layer_norm")
        x = x + attend(h, h, layer + "self_attn", heads, causal=True)
        x = x + attend(norm(x, layer + "encoder_attn_layer_norm"), audio, layer + "encoder_attn", heads, causal=False)
        x = feed_forward(x, layer, c["decoder_ffn_dim"])
    return norm(x, "decoder.layer_norm") @ embedding.T


def sampled(name, tensor):
    flat = tensor.reshape(-1)
    # The last value always, the others anywhere.
    indexes = sorted(set((splitmix(name, SAMPLED) % np.uint64(flat.size)).tolist()) | {flat.size - 1})
    return dict(indexes=indexes, values=[float(f"{flat[i]:.7g}") for i in indexes])


def main():
    result = []
    for config in SHAPES:
        tokens = [50258, 50259, config["vocab_size"] - 1]
        mel = log_mel(signal(), config["num_mel_bins"])
        embeddings = encode(mel, config)
        logits = decode(tokens, embeddings, config)
        print(config["vocab_size"], "mel", mel.shape, mel.std(), "encoder", embeddings.std(), "logits", logits.std(-1),
              "step to step", np.corrcoef(logits).tolist(), file=sys.stderr)
        result.append(dict(config=config, tokens=tokens, mel=sampled("mel", mel), encoder=sampled("encoder", embeddings),
                           logits=[sampled(f"logits{i}", row) for i, row in enumerate(logits)]))
    json.dump(result, sys.stdout, separators=(",", ":"))
    print()


main()
