#!/usr/bin/env python3
"""Makes byte_level_reference.json: texts and their tokens by a plain byte-level byte-pair encoder.

Usage: make_byte_level_reference.py TOKENIZER_JSON > byte_level_reference.json

Independent of the program: the words are cut by hand and not by a regular expression, and merging looks for the best pair
anew each time. Added tokens are not treated.
"""
import json
import sys
import unicodedata

TEXTS = [
    "Hello world", " Hello, world! It's 2024, isn't it? We'll see; they've said I'm sure he'd go.",
    "Grüße aus Köln, schöne Straße – „Zitat“", "नमस्ते दुनिया, आप कैसे हैं?", "今日は良い天気ですね。漢字とカナ",
    "👨‍👩‍👧‍👦 family 🏳️‍🌈 and 🇩🇪 flags 👍🏽", "two  blanks   three \n\n\t tabs\r\n end  ", "x²+½≈٣٤ Ⅻ", "don'T CAN'T 'tis ''s",
    "a\u00a0b\u2003c\u0085d\u000be", "combining e\u0301 n\u0303", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "https://a.example/?q=1&r=%20#x_y",
    "\u200b\ufeff\u0000\u0001\u007f", " ", "", "العربية שלום ไทย 한국어",
]


def letters():
    printable = [b for b in range(256) if 0x21 <= b <= 0x7E or 0xA1 <= b <= 0xAC or b >= 0xAE]
    others = [b for b in range(256) if b not in printable]
    return {b: chr(b) for b in printable} | {b: chr(256 + i) for i, b in enumerate(others)}


def kind(c):
    if c in "\t\n\v\f\r\u0085" or unicodedata.category(c)[0] == "Z":
        return "blank"
    return {"L": "letter", "N": "number"}.get(unicodedata.category(c)[0], "other")


def words(text):
    at = 0
    while at < len(text):
        contraction = next((c for c in ("'s", "'t", "'re", "'ve", "'m", "'ll", "'d") if text.startswith(c, at)), None)
        end = at
        if contraction:
            end += len(contraction)
        else:
            first = at + (text[at] == " " and at + 1 < len(text) and kind(text[at + 1]) != "blank")
            of = kind(text[first])
            end = first
            while end < len(text) and kind(text[end]) == of:
                end += 1
            if of == "blank" and end < len(text) and end - at > 1:
                end -= 1  # the last blank goes with the next word
        yield text[at:end]
        at = end


def encode(text, vocabulary, ranks):
    alphabet = letters()
    tokens = []
    for word in words(text):
        pieces = [alphabet[b] for b in word.encode()]
        while True:
            pairs = [(ranks[pair], i) for i, pair in enumerate(zip(pieces, pieces[1:])) if pair in ranks]
            if not pairs:
                break
            _, i = min(pairs)
            pieces[i:i + 2] = [pieces[i] + pieces[i + 1]]
        tokens += [vocabulary[piece] for piece in pieces]
    return tokens


def main():
    model = json.load(open(sys.argv[1], encoding="utf-8"))["model"]
    ranks = {tuple(m.split(" ")) if isinstance(m, str) else tuple(m): i for i, m in enumerate(model["merges"])}
    rows = ",\n".join(json.dumps({"text": t, "tokens": encode(t, model["vocab"], ranks)}) for t in TEXTS)
    print("[\n" + rows + "\n]")


main()
