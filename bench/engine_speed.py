#!/usr/bin/env python3
"""Measures the engine of one program, or of several side by side, in tables that can be compared: models with random weights
of the published shapes, an hour's recording, and dictations on the virtual desktop.

    bench/engine_speed.py build/joined/src/app/fenlo
    bench/engine_speed.py BEFORE AFTER --rounds 5                   the second beside the first, interleaved
    bench/engine_speed.py BEFORE AFTER --measure hour --sizes small
    scripts/virtual-desktop bench/engine_speed.py BEFORE AFTER --measure takes --sizes small

A program is `fenlo` of any version; for the networks also `bench_engine`, which is quick to build. The random weights say a
script: the decoder's positions lead to chosen words, so that a window costs the tokens that a speaker's words cost.
"""

import argparse
import json
import math
import os
import random
import statistics
import struct
import subprocess
import sys
import tempfile
import time
import wave
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TOKENIZER = next((ROOT / "resources/models").glob("*/tokenizer.json"))
SIZES = {"tiny": (384, 4), "base": (512, 6), "small": (768, 12), "medium": (1024, 24)}  # width, layers
BANDS, VOCABULARY, AUDIO_POSITIONS, TEXT_POSITIONS = 80, 51864, 1500, 448
END_OF_TEXT, FIRST_TIMESTAMP = 50256, 50363
WORDS_A_SECOND = 2.7  # of a fluent speaker
WINDOW = 30  # seconds
RATE = 16000
TAKES = 20
# The names that `fenlo bench --json` gives its stages.
ENCODE, KEYS, TOKEN, LOAD = "encode 30 s", "cross-attention keys and values", "decode a token, mean of 100", "load"
KNOWN = (ENCODE, KEYS, TOKEN, LOAD, "mel spectrogram of 30 s", "compile the checkpoint")


class Shape:
    """The tensors of a checkpoint in the publishers' names."""

    def __init__(self, width, layers):
        self.width, self.layers = width, layers
        self.tensors = {}
        self._layer("encoder.conv1", width, BANDS, 3)
        self._layer("encoder.conv2", width, width, 3)
        self._add("encoder.embed_positions.weight", AUDIO_POSITIONS, width)
        self._add("decoder.embed_tokens.weight", VOCABULARY, width)
        self._add("decoder.embed_positions.weight", TEXT_POSITIONS, width)
        for part in ("encoder", "decoder"):
            for layer in range(layers):
                attentions = ("self_attn",) if part == "encoder" else ("self_attn", "encoder_attn")
                self._block(f"{part}.layers.{layer}.", attentions)
            self._layer(f"{part}.layer_norm", width)

    def _block(self, layer, attentions):
        for attention in attentions:
            for projection in ("q_proj", "k_proj", "v_proj", "out_proj"):
                self._layer(f"{layer}{attention}.{projection}", self.width, self.width)
            self._layer(f"{layer}{attention}_layer_norm", self.width)
        self._layer(layer + "fc1", 4 * self.width, self.width)
        self._layer(layer + "fc2", self.width, 4 * self.width)
        self._layer(layer + "final_layer_norm", self.width)

    def _layer(self, name, *shape):
        self._add(name + ".weight", *shape)
        if not name.endswith("k_proj"):
            self._add(name + ".bias", shape[0])

    def _add(self, name, *shape):
        self.tensors["model." + name] = shape

    def config(self):
        return {
            "model_type": "whisper", "activation_function": "gelu", "d_model": self.width,
            "encoder_layers": self.layers, "encoder_attention_heads": self.width // 64, "encoder_ffn_dim": 4 * self.width,
            "decoder_layers": self.layers, "decoder_attention_heads": self.width // 64, "decoder_ffn_dim": 4 * self.width,
            "num_mel_bins": BANDS, "vocab_size": VOCABULARY,
            "max_source_positions": AUDIO_POSITIONS, "max_target_positions": TEXT_POSITIONS,
        }  # fmt: skip


def constant_halves(value, count):
    return struct.pack("<e", value) * count


def random_halves(generator, count, inputs):
    """Of either sign, around 1 / sqrt(inputs): 16-bit floats of one exponent."""
    exponent = 15 + math.floor(math.log2(0.8 / math.sqrt(inputs)))
    pieces = []
    for start in range(0, count, 1 << 19):
        some = min(1 << 19, count - start)
        bits = int.from_bytes(generator.randbytes(2 * some), "little")
        mask, exponents = (int.from_bytes(struct.pack("<H", half) * some, "little") for half in (0x83FF, exponent << 10))
        pieces.append((bits & mask | exponents).to_bytes(2 * some, "little"))
    return b"".join(pieces)


def chosen_words():
    """The ids of words that stand for themselves, in an order without a pattern."""
    vocabulary = json.loads(TOKENIZER.read_text())["model"]["vocab"]
    words = [(text[1:], id) for text, id in vocabulary.items() if text[0] == "Ġ" and len(text) > 3]
    words = sorted(id for text, id in words if text.isascii() and text.isalpha())
    random.Random(1).shuffle(words)
    return words


def led_positions(embedding, width, seconds):
    """Embeddings of the decoder's positions: each points at the token that comes next, far longer than all that the layers
    add. Where timestamps are not wanted, the last one gives way to the end."""
    said = chosen_words()[: min(int(seconds * WORDS_A_SECOND), 200)]
    script = [(FIRST_TIMESTAMP,), *((word,) for word in said), (FIRST_TIMESTAMP + int((seconds - 0.1) * 50), END_OF_TEXT)]
    script += [(END_OF_TEXT,)] * (TEXT_POSITIONS - len(script))
    rows = []
    for tokens in script:
        sources = [struct.unpack_from(f"<{width}e", embedding, 2 * width * token) for token in tokens]
        factors = [60 * math.sqrt(width) * factor for factor in (1.0, 0.6)]
        sums = (sum(factor * value for factor, value in zip(factors, values)) for values in zip(*sources))
        rows.append(struct.pack(f"<{width}e", *sums))
    return b"".join(rows)


def write_model(folder, size, seconds):
    """A checkpoint whose decoder says as many words a window as are spoken in so many seconds."""
    if (folder / "model.safetensors").exists():
        return folder
    folder.mkdir(parents=True)
    shape = Shape(*SIZES[size])
    generator = random.Random(size)
    header, offset = {}, 0
    for name, dimensions in shape.tensors.items():
        end = offset + 2 * math.prod(dimensions)
        header[name] = {"dtype": "F16", "shape": dimensions, "data_offsets": [offset, end]}
        offset = end
    text = json.dumps(header).encode()
    embedding = b""
    with open(folder / "weights", "wb") as file:
        file.write(struct.pack("<Q", len(text)) + text)
        for name, dimensions in shape.tensors.items():
            count = math.prod(dimensions)
            if name.endswith("norm.weight") or name.endswith(".bias"):
                numbers = constant_halves(0 if name.endswith(".bias") else 1, count)
            elif name.endswith("decoder.embed_positions.weight"):
                numbers = led_positions(embedding, shape.width, min(seconds, WINDOW))
            else:
                numbers = random_halves(generator, count, count // dimensions[0])
            if name.endswith("embed_tokens.weight"):
                embedding = numbers
            file.write(numbers)
    (folder / "config.json").write_text(json.dumps(shape.config()))
    (folder / "generation_config.json").write_text(json.dumps({"alignment_heads": [[shape.layers - 1, 0]]}))
    (folder / "tokenizer.json").write_bytes(TOKENIZER.read_bytes())
    (folder / "weights").rename(folder / "model.safetensors")
    return folder


def write_recording(path, seconds):
    """Noise in the rhythm of syllables and of sentences."""
    if path.exists():
        return path
    generator = random.Random(2)
    noise = [generator.gauss(0, 2500) for _ in range(RATE)]
    window = bytearray()
    for at in range(WINDOW * RATE):
        second = at / RATE
        loudness = max(0.0, math.sin(2 * math.pi * 2 * second)) if second % 10 < 9.3 else 0.0
        window += struct.pack("<h", max(-32767, min(32767, int(loudness * noise[at * 7919 % RATE]))))
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, RATE, 0, "NONE", ""))
        for start in range(0, seconds, WINDOW):
            file.writeframes(window[: 2 * RATE * min(WINDOW, seconds - start)])
    return path


class Program:
    """One of those that are measured, with a home of its own: versions compile a model differently."""

    def __init__(self, path, number, folder):
        self.path = Path(path).resolve()
        self.name = f"{number}: {path}"
        self.home = folder / f"home-{number}"
        self.home.mkdir(parents=True, exist_ok=True)
        self.environment = {**os.environ, "HOME": str(self.home), "XDG_CACHE_HOME": str(self.home / ".cache")}

    def run(self, *arguments):
        """Standard output, seconds on the clock, seconds of processor time, and the peak in MB."""
        begin = time.monotonic()
        with tempfile.TemporaryFile() as errors:
            command = [str(self.path), *map(str, arguments)]
            process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=errors, env=self.environment)
            output = process.stdout.read().decode()
            process.stdout.close()
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            errors.seek(0)
            if process.returncode != 0:
                sys.exit(f"{' '.join(command)} ended with {process.returncode}:\n{errors.read().decode()}")
        return output, time.monotonic() - begin, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def print_table(columns, rows):
    """Columns as wide as what they hold, the first one to the left."""
    lines = [columns]
    for row in rows:
        lines.append([cell if isinstance(cell, str) else f"{cell:.{digits}f}" for cell, digits in row])
    widths = [max(len(line[i]) for line in lines) for i in range(len(columns))]
    for line in lines:
        print("  ".join([line[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(line[1:], widths[1:]))]))
    print(flush=True)


def bench(program, model, bits, options):
    arguments = ["bench", "--json", "--model", model, *(["--float32"] if bits == 32 else []), *options]
    output, _, _, peak = program.run(*arguments)
    if "compile the checkpoint" in json.loads(output)["seconds"]:  # which is no part of the figures
        output, _, _, peak = program.run(*arguments)
    return {**json.loads(output)["seconds"], "peak": peak}


def measure_networks(programs, chosen):
    """The best of some rounds; each round runs each program once."""
    options = ["--threads", str(chosen.threads)] if chosen.threads else []
    options += ["--windows", str(chosen.windows)] if chosen.windows > 1 else []
    for size in chosen.sizes:
        model = write_model(chosen.folder / size, size, WINDOW)
        for bits in chosen.bits:
            best = [{} for _ in programs]
            for _ in range(chosen.rounds):
                for program, figures in zip(programs, best):
                    for name, figure in bench(program, model, bits, options).items():
                        figures[name] = min(figure, figures.get(name, math.inf))
            others = sorted({name for figures in best for name in figures} - {*KNOWN, "peak"})
            columns = [f"{size}, {bits} bit", "encode ms", "token ms", "load s", "peak MB", "tokens/s"]
            rows = [network_row(program, figures, others) for program, figures in zip(programs, best)]
            print_table(columns + [f"{name} ms" for name in others], rows)


def network_row(program, figures, others):
    encode, token = figures[ENCODE] + figures[KEYS], figures[TOKEN]
    row = [(program.name, 0), (1000 * encode, 0), (1000 * token, 2), (figures[LOAD], 3), (figures["peak"], 0), (1 / token, 0)]
    return row + [(1000 * figures[name], 2) if name in figures else ("", 0) for name in others]


def measure_hour(programs, chosen):
    recording = write_recording(chosen.folder / f"recording-{chosen.seconds}.wav", chosen.seconds)
    for size in chosen.sizes:
        model = write_model(chosen.folder / size, size, WINDOW)
        rows = []
        for program in programs:
            bench(program, model, 8, [])  # compiles the model
            runs = [transcribe(program, model, recording, chosen) for _ in range(chosen.rounds)]
            output, wall, processor, peak = min(runs, key=lambda run: run[1])
            words = len(output.split())
            hour = 3600 * wall / chosen.seconds
            rows.append([(program.name, 0), (wall, 1), (processor, 1), (hour, 1), (words, 0), (words / wall, 0), (peak, 0)])
        columns = ["wall s", "processor s", "an hour s", "words", "words/s", "peak MB"]
        print_table([f"{size}, file of {chosen.seconds} s", *columns], rows)


def transcribe(program, model, recording, chosen):
    options = ["--threads", str(chosen.threads)] if chosen.threads else []
    return program.run("transcribe", "--quiet", "--model", model, *options, *chosen.transcribe, recording)


def measure_takes(programs, chosen):
    """From the release of the key to the paste, without a network, on the virtual desktop."""
    sys.path.insert(0, str(ROOT / "tests/desktop"))
    sys.path.insert(0, str(ROOT / "bench"))
    from desktop_latency import TimedLines, measure_paste, open_editor
    from harness.fenlo import Fenlo

    size = chosen.sizes[-1]
    editor_folder = chosen.folder / "editor"
    editor_folder.mkdir(exist_ok=True)
    open_editor(editor_folder)
    for length in chosen.lengths:
        model = write_model(chosen.folder / f"{size}-{length}s", size, length)
        clip = Spoken(write_recording(chosen.folder / f"take-{length}.wav", length), chosen.breath)
        times = [[] for _ in programs]
        for half in range(2):
            for number, (program, taken) in enumerate(zip(programs, times)):
                folder = chosen.folder / f"take-{length}-{number}-{half}"
                install(model, folder / "home")
                deployment = {"offline_model": model.name}
                fenlo = Fenlo(program.path, folder, None, settings={"offline_mode": True}, deployment=deployment)
                fenlo.wait_for("[Fenlo] LocalTranscriber: Ready", patience=120)  # compiled and loaded
                log = TimedLines(["tail", "-n", "0", "-F", "-s", "0.002", str(fenlo.log_file)])
                time.sleep(0.5)
                measure_paste(fenlo, log, clip)  # the first take wakes what sleeps
                for _ in range((chosen.takes + 1) // 2):
                    time.sleep(1.3)  # the clipboard is put back
                    taken.append(measure_paste(fenlo, log, clip))
                fenlo.close()
        rows = []
        for program, taken in zip(programs, times):
            rows.append([(program.name, 0), (min(taken), 2), (statistics.median(taken), 2), (max(taken), 2)])
        print_table([f"{size}, takes of {length} s", "least s", "median s", "most s"], rows)


def install(model, home):
    """The model as an installed one. The compiled files of each program lie in its home."""
    place = home / ".fenlo/models" / model.name
    place.mkdir(parents=True)
    for file in model.iterdir():
        os.link(file, place / file.name)


class Spoken:
    """A recording that is played into the virtual microphone, and the breath before the key is released."""

    def __init__(self, file, breath):
        self._file, self._breath = file, breath

    def speak(self):
        subprocess.run(["paplay", "--device=micfeed", "--latency-msec=30", str(self._file)], check=True)
        time.sleep(self._breath)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("programs", nargs="+", metavar="PROGRAM")
    parser.add_argument("--measure", nargs="+", choices=("networks", "hour", "takes"), default=["networks"])
    parser.add_argument("--sizes", nargs="+", choices=SIZES, default=["tiny", "base", "small"])
    parser.add_argument("--bits", nargs="+", type=int, choices=(8, 32), default=[8, 32])
    parser.add_argument("--rounds", type=int, default=3, help="of each program; the best counts")
    parser.add_argument("--threads", type=int, default=0, help="by default one for each core")
    parser.add_argument("--windows", type=int, default=1, help="decoded at once, in a column of its own; adds their memory")
    parser.add_argument("--seconds", type=int, default=3600, help="length of the file for `hour`")
    parser.add_argument("--transcribe", nargs="*", default=[], metavar="OPTION", help="more of `fenlo transcribe`, as: vad")
    parser.add_argument("--lengths", nargs="+", type=int, default=[2, 5, 15, 60], help="of the takes, in seconds")
    parser.add_argument("--takes", type=int, default=TAKES, help="of each length and program")
    parser.add_argument("--breath", type=float, default=0.3, help="seconds from the end of a take's sound to the release")
    parser.add_argument("--folder", type=Path, help="a new one, or one of an earlier run: keeps models and recordings")
    chosen = parser.parse_args()
    chosen.transcribe = ["--" + option for option in chosen.transcribe]
    with tempfile.TemporaryDirectory(prefix="engine-speed-") as temporary:
        chosen.folder = (chosen.folder or Path(temporary)).resolve()
        programs = [Program(path, number, chosen.folder) for number, path in enumerate(chosen.programs, 1)]
        load = ", ".join(f"{value:.1f}" for value in os.getloadavg())
        print(f"{os.cpu_count()} cores, load {load}\n")
        for measure in chosen.measure:
            {"networks": measure_networks, "hour": measure_hour, "takes": measure_takes}[measure](programs, chosen)


if __name__ == "__main__":
    main()
