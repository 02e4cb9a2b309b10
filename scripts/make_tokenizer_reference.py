#!/usr/bin/env python3
"""Makes tests/hub/tokenizers/data: small tokenizers of every family, texts, and what tokenizing must give.

Usage: make_tokenizer_reference.py [--texts N] [--seed N] [FOLDER]

The models are trained on the few sentences below. The tokens, the bytes that each stands for and the decoded texts come
from the plain, slow readings of the published algorithms in this file, which share no code with the program. With
--texts 5000 it makes far more than what is kept in the repository; the test reads the folder that the environment
variable FENLO_TOKENIZER_REFERENCE names.
"""
import argparse
import base64
import collections
import json
import math
import pathlib
import random
import struct
import unicodedata

CORPUS = """
The quick brown fox jumps over the lazy dog, and the dog doesn't mind. It's 2024; we'll see what they've found!
Hold the key, speak, let go: the words stand at the cursor. Words, sentences and paragraphs are spoken text.
Grüße aus Köln: schöne Straßen, große Häuser, „Zitate“ – und überall Fußgänger. Über den Wolken muß die Freiheit sein.
Être ou ne pas être, voilà la question; garçon, l'été où l'on naît. El niño comió piñas. Łódź, Żółw, příliš žluťoučký kůň.
Быстрая коричневая лиса прыгает через ленивую собаку. Слова стоят у курсора, и текст появляется сразу. Ещё раз!
今日は良い天気ですね。漢字とカナを書きます。今日の天気は晴れです。你好世界，我们今天去学校。学校的天气很好。
안녕하세요 세계, 오늘 날씨가 좋네요. 한국어 문장입니다.
مرحبا بالعالم، هذا نص باللغة العربية. العربية لغة جميلة. שלום עולם, זה טקסט בעברית. שָׁלוֹם לכולם!
नमस्ते दुनिया, आप कैसे हैं? मैं हिन्दी में लिखता हूँ। नमस्ते सब को। สวัสดีชาวโลก ภาษาไทย
👍 great 😀 fun 👍🏽 👨‍👩‍👧‍👦 family 🏳️‍🌈 and 🇩🇪 flags 😀😀 🎉
def main(argc: int) -> None: return print(f"{argc:>5}")  # a comment
for (size_t i = 0; i < words.size(); ++i) { total += words[i].length(); } // lengths
if (text.empty()) return false; std::string_view piece = text.substr(begin, end - begin);
https://a.example/search?q=words&lang=en#top  user@host.example  12.5 % of 1,000,000 = 125000
""".strip().split("\n")

# Characters that every version of Unicode in use treats alike.
RARE = list("àéîõüçñßøåłžščđğœæÀÉÖÜ") + list("ёъыэюяЖЩ") + list("漢字学校天気世界気") + list("カナかなンっ") + \
    list("한국어날씨") + list("عربيةسلام") + list("אבגדשלום") + list("नमसतदिुाेै्") + list("ไทยสวัดี") + \
    list("😀👍🎉🚀🌈") + ["👨‍👩‍👧‍👦", "🏳️‍🌈", "👍🏽", "🇩🇪", "e\u0301", "n\u0303", "שָׁ", "ﬁn", "Ａb", "１２", "①", "²", "½", "Ⅻ.", "٣٤"] + \
    ["…", "–", "„", "“", "”", "’", "、", "。", "！", "€", "£", "§", "°", "±", "×", "→"]
BLANKS = [" "] * 8 + ["  ", "   ", "\n", "\n\n", "\t", "\r\n", "\u00a0", "\u3000", "\u2003"]


# --- Text whose characters know where they come from -------------------------------------------------------------------

class Char:
    """A character and the bytes of the original that it comes from; `whole` when it is those bytes themselves."""

    def __init__(self, c, begin, end, whole=True):
        self.c, self.begin, self.end, self.whole = c, begin, end, whole

    def parts(self, letters):
        """What is made of this character's bytes, each byte a letter of its own."""
        for k, letter in enumerate(letters):
            yield Char(letter, self.begin + k, self.begin + k + 1, False) if self.whole else \
                Char(letter, self.begin, self.end, False)


def aligned(text):
    chars, at = [], 0
    for c in text:
        size = len(c.encode())
        chars.append(Char(c, at, at + size))
        at += size
    return chars


def text_of(chars):
    return "".join(x.c for x in chars)


def replaced(chars, new):
    """`new` in the place of these characters."""
    return [Char(c, chars[0].begin, chars[-1].end, False) for c in new]


def inserted(text, place):
    return [Char(c, place, place, False) for c in text]


# --- Characters --------------------------------------------------------------------------------------------------------

def category(c):
    return unicodedata.category(c)


def is_blank(c):
    return c in "\t\n\v\f\r\u0085" or category(c)[0] == "Z"


def is_word(c):
    return category(c)[0] in "LM" or category(c) in ("Nd", "Nl", "Pc") or c in "\u200c\u200d"


def is_punctuation(c):
    return category(c)[0] == "P" or c in "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~"


def is_chinese(c):
    return any(first <= ord(c) <= last for first, last in (
        (0x4E00, 0x9FFF), (0x3400, 0x4DBF), (0x20000, 0x2A6DF), (0x2A700, 0x2B73F), (0x2B740, 0x2B81F),
        (0x2B820, 0x2CEAF), (0xF900, 0xFAFF), (0x2F800, 0x2FA1F)))


def byte_letters():
    printable = [b for b in range(256) if 0x21 <= b <= 0x7E or 0xA1 <= b <= 0xAC or b >= 0xAE]
    others = [b for b in range(256) if b not in printable]
    return {b: chr(b) for b in printable} | {b: chr(256 + i) for i, b in enumerate(others)}


LETTERS = byte_letters()
BYTES = {letter: b for b, letter in LETTERS.items()}


# --- Normalizers -------------------------------------------------------------------------------------------------------

def unicode_form(form, chars):
    """By runs of a character and the marks on it, which is where a form can change anything."""
    out, at = [], 0
    while at < len(chars):
        end = at + 1
        while end < len(chars) and unicodedata.combining(chars[end].c):
            end += 1
        out += formed(form, chars[at:end])
        at = end
    return out


def formed(form, chars):
    """In the smallest parts that change independently."""
    old = text_of(chars)
    new = unicodedata.normalize(form, old)
    if new == old:
        return chars
    for cut in range(1, len(old)):
        if unicodedata.normalize(form, old[:cut]) + unicodedata.normalize(form, old[cut:]) == new:
            return formed(form, chars[:cut]) + formed(form, chars[cut:])
    return replaced(chars, new)


def lowered(chars):
    return [y for x in chars for y in ([x] if x.c.lower() == x.c else replaced([x], x.c.lower()))]


def replace_all(chars, old, new):
    out, at = [], 0
    while at < len(chars):
        if text_of(chars[at:at + len(old)]) == old:
            out += replaced(chars[at:at + len(old)], new)
            at += len(old)
        else:
            out.append(chars[at])
            at += 1
    return out


def bert_normalized(step, chars):
    out = []
    for x in chars:
        if step["clean_text"] and (x.c in "\0\ufffd" or category(x.c) in ("Cc", "Cf") and x.c not in "\t\n\r"):
            continue
        if step["clean_text"] and is_blank(x.c):
            out += [x] if x.c == " " else replaced([x], " ")
        elif step["handle_chinese_chars"] and is_chinese(x.c):
            out += inserted(" ", x.begin) + [x] + inserted(" ", x.end)
        else:
            out.append(x)
    strips = step["lowercase"] if step["strip_accents"] is None else step["strip_accents"]
    if strips:
        out = [x for x in unicode_form("NFD", out) if category(x.c) != "Mn"]
    return lowered(out) if step["lowercase"] else out


def charsmap_of(step):
    """The pairs that a normalizer of the type Precompiled was made from, read back out of its table."""
    blob = base64.b64decode(step["precompiled_charsmap"])
    size = struct.unpack_from("<I", blob)[0]
    units = struct.unpack_from(f"<{size // 4}I", blob, 4)
    texts = blob[4 + size:]

    def walk(node, key):
        base = node ^ offset_of(units[node])
        if units[node] & 0x100:
            value = units[base] & 0x7FFFFFFF
            yield key.decode(), texts[value:texts.index(b"\0", value)].decode()
        for label in range(1, 256):
            if base ^ label < len(units) and units[base ^ label] & 0x800000FF == label:
                yield from walk(base ^ label, key + bytes([label]))
    return dict(walk(0, b""))


def precompiled(step, chars):
    table = charsmap_of(step)
    return [y for x in chars for y in (replaced([x], table[x.c]) if x.c in table else [x])]


def normalized(step, chars):
    if step is None or not chars:
        return chars
    kind = step["type"]
    if kind == "Sequence":
        for part in step["normalizers"]:
            chars = normalized(part, chars)
        return chars
    if kind in ("NFC", "NFD", "NFKC", "NFKD"):
        return unicode_form(kind, chars)
    if kind == "Prepend":
        return inserted(step["prepend"], chars[0].begin) + chars
    return {"Lowercase": lambda: lowered(chars), "BertNormalizer": lambda: bert_normalized(step, chars),
            "Precompiled": lambda: precompiled(step, chars),
            "Replace": lambda: replace_all(chars, step["pattern"]["String"], step["content"])}[kind]()


# --- Pre-tokenizers ----------------------------------------------------------------------------------------------------

def runs(chars, kind_of):
    """Neighbours of the same kind together; None leaves a character out, "alone" makes it a piece of its own."""
    pieces, last = [], None
    for x in chars:
        kind = kind_of(x.c)
        if kind is not None and (kind != last or kind == "alone"):
            pieces.append([])
        if kind is not None:
            pieces[-1].append(x)
        last = kind
    return pieces


def byte_level_words(chars):
    def kind(c):
        return "blank" if is_blank(c) else {"L": "letter", "N": "number"}.get(category(c)[0], "other")
    text, at = text_of(chars), 0
    while at < len(text):
        contraction = next((c for c in ("'s", "'t", "'re", "'ve", "'m", "'ll", "'d") if text.startswith(c, at)), "")
        end = at + len(contraction)
        if not contraction:
            first = at + (text[at] == " " and at + 1 < len(text) and kind(text[at + 1]) != "blank")
            of = kind(text[first])
            end = first
            while end < len(text) and kind(text[end]) == of:
                end += 1
            if of == "blank" and end < len(text) and end - at > 1:
                end -= 1  # the last blank goes with the next word
        yield chars[at:end]
        at = end


def metaspaced(step, chars, is_start):
    blank = step["replacement"]
    chars = replace_all(chars, " ", blank)
    if step["prepend_scheme"] == "always" or step["prepend_scheme"] == "first" and is_start:
        if chars[0].c != blank:
            chars = inserted(blank, chars[0].begin) + chars
    if not step["split"]:
        return [chars]
    pieces = []
    for x in chars:
        if x.c == blank or not pieces:
            pieces.append([])
        pieces[-1].append(x)
    return pieces


def split_words(step, chars, is_start):
    if not chars:
        return []
    kind = step and step["type"]
    if kind is None:
        return [chars]
    if kind == "Sequence":
        pieces = [chars]
        for part in step["pretokenizers"]:
            pieces = [y for i, x in enumerate(pieces) for y in split_words(part, x, is_start and i == 0)]
        return pieces
    if kind == "ByteLevel":
        if step["add_prefix_space"] and chars[0].c != " ":
            chars = inserted(" ", chars[0].begin) + chars
        words = byte_level_words(chars) if step["use_regex"] else [chars]
        return [[y for x in word for y in x.parts([LETTERS[b] for b in x.c.encode()])] for word in words]
    if kind == "Metaspace":
        return metaspaced(step, chars, is_start)
    kinds = {"Whitespace": lambda c: None if is_blank(c) else "word" if is_word(c) else "other",
             "WhitespaceSplit": lambda c: None if is_blank(c) else "word",
             "BertPreTokenizer": lambda c: None if is_blank(c) else "alone" if is_punctuation(c) else "word",
             "Digits": lambda c: ("alone" if step["individual_digits"] else "digit") if category(c)[0] == "N" else "other"}
    return runs(chars, kinds[kind])


# --- Models: lists of (token, range of bytes) ---------------------------------------------------------------------------

def span(chars):
    """The bytes that characters come from; what was inserted has none of its own."""
    real = [x for x in chars if x.begin < x.end] or chars
    return real[0].begin, real[-1].end


def is_byte(piece):
    return len(piece) == 6 and piece.startswith("<0x") and piece.endswith(">")


def bytes_tokens(chars, vocabulary):
    parts = [y for x in chars for y in x.parts([f"<0x{b:02X}>" for b in x.c.encode()])]
    return [(vocabulary[p.c], span([p])) for p in parts] if all(p.c in vocabulary for p in parts) else None


def pair_encoded(model, chars):
    """Sennrich et al. 2016: the pair of neighbours highest in the list is joined, again and again."""
    vocabulary = model["vocab"]
    prefix, suffix = model.get("continuing_subword_prefix") or "", model.get("end_of_word_suffix") or ""
    if model.get("ignore_merges") and text_of(chars) in vocabulary:
        return [(vocabulary[text_of(chars)], span(chars))]
    symbols = []  # [piece or None for unknown or a token, range]
    for i, x in enumerate(chars):
        piece = (prefix if i else "") + x.c + (suffix if i + 1 == len(chars) else "")
        if piece in vocabulary:
            symbols.append((piece, span([x])))
        elif model.get("byte_fallback") and (tokens := bytes_tokens([x], vocabulary)):
            names = {token: name for name, token in vocabulary.items()}
            symbols += [(names[token], where) for token, where in tokens]
        elif model.get("unk_token") is not None:
            if model.get("fuse_unk") and symbols and symbols[-1][0] is None:
                symbols[-1] = (None, (symbols[-1][1][0], x.end))
            else:
                symbols.append((None, span([x])))
    if "ranks" not in model:
        model["ranks"] = {tuple(pair): rank for rank, pair in enumerate(model["merges"])}
    ranks = model["ranks"]
    while True:
        pairs = [(ranks[a[0], b[0]], i) for i, (a, b) in enumerate(zip(symbols, symbols[1:])) if (a[0], b[0]) in ranks]
        if not pairs:
            break
        i = min(pairs)[1]
        (a, (begin, a_end)), (b, (b_begin, end)) = symbols[i:i + 2]
        where = (begin, end) if begin < a_end and b_begin < end else (begin, a_end) if begin < a_end else (b_begin, end)
        symbols[i:i + 2] = [(a + b[len(prefix):], where)]
    return [(vocabulary[model["unk_token"] if piece is None else piece], where) for piece, where in symbols]


def word_pieces(model, chars):
    """Schuster and Nakajima 2012, as BERT has it: the longest piece first; a word that is not all pieces is unknown."""
    vocabulary, unknown = model["vocab"], [(model["vocab"][model["unk_token"]], span(chars))]
    if len(chars) > model["max_input_chars_per_word"]:
        return unknown
    tokens, begin = [], 0
    while begin < len(chars):
        for end in range(len(chars), begin, -1):
            piece = (model["continuing_subword_prefix"] if begin else "") + text_of(chars[begin:end])
            if piece in vocabulary:
                break
        else:
            return unknown
        tokens.append((vocabulary[piece], span(chars[begin:end])))
        begin = end
    return tokens


def most_likely_pieces(model, chars):
    """Kudo 2018: the pieces with the largest sum of log probabilities. A character that is no piece has ten less than
    the least likely piece. Of equal sums the one whose last piece is longest, and so on towards the beginning."""
    scores = {piece: (score, token) for token, (piece, score) in enumerate(model["vocab"])
              if token != model["unk_id"] and not (model.get("byte_fallback") and is_byte(piece))}  # no text spells these
    penalty = min(score for _, score in model["vocab"]) - 10
    text, unknown = text_of(chars), model["unk_id"]
    best = [(0.0, 0, None)] + [None] * len(text)  # of a beginning: its score, where its last piece begins, that token
    for end in range(1, len(text) + 1):
        for begin in range(end):
            found = scores.get(text[begin:end], (penalty, unknown) if end == begin + 1 else None)
            if found and (best[end] is None or best[begin][0] + found[0] > best[end][0]):
                best[end] = (best[begin][0] + found[0], begin, found[1])
    path, end = [], len(text)
    while end:
        _, begin, token = best[end]
        if path and token == unknown == path[-1][0]:
            path[-1] = (token, begin, path[-1][2])  # neighbouring unknown characters are one token
        else:
            path.append((token, begin, end))
        end = begin
    vocabulary = {piece: token for token, (piece, _) in enumerate(model["vocab"])}
    tokens = []
    for token, begin, end in reversed(path):
        in_bytes = bytes_tokens(chars[begin:end], vocabulary) if token == unknown and model.get("byte_fallback") else None
        tokens += in_bytes or [(token, span(chars[begin:end]))]
    return tokens


def whole_word(model, chars):
    return [(model["vocab"].get(text_of(chars), model["vocab"][model["unk_token"]]), span(chars))]


MODELS = {"BPE": pair_encoded, "WordPiece": word_pieces, "Unigram": most_likely_pieces, "WordLevel": whole_word}


# --- Decoders ----------------------------------------------------------------------------------------------------------

def readable(data):
    return bytes(data).decode(errors="replace")


def from_fallback_bytes(pieces):
    out, pending = [], []
    for piece in pieces + [""]:
        if is_byte(piece):
            pending.append(int(piece[3:5], 16))
            continue
        if pending:
            try:
                out.append(bytes(pending).decode())
            except UnicodeDecodeError:
                out += ["\ufffd"] * len(pending)
        pending = []
        out.append(piece)
    return out[:-1]


def without_word_pieces(step, pieces):
    out = []
    for i, piece in enumerate(pieces):
        if i and piece.startswith(step["prefix"]):
            piece = piece[len(step["prefix"]):]
        elif i:
            piece = " " + piece
        if step["cleanup"]:
            for old in (" .", " ?", " !", " ,", " ' ", " n't", " 'm", " do not", " 's", " 've", " 're"):
                piece = piece.replace(old, " don't" if old == " do not" else "'" if old == " ' " else old[1:])
        out.append(piece)
    return out


def without_metaspace(step, pieces):
    blank = step["replacement"]
    if pieces and step["prepend_scheme"] != "never" and pieces[0].startswith(blank):
        pieces = [pieces[0][len(blank):]] + pieces[1:]
    return [piece.replace(blank, " ") for piece in pieces]


def joined(step, pieces):
    kind = step["type"]
    if kind == "Sequence":
        for part in step["decoders"]:
            pieces = joined(part, pieces)
        return pieces
    if kind == "ByteLevel":
        return [readable(BYTES[c] for piece in pieces for c in piece)]
    if kind == "BPEDecoder":
        return [piece.replace(step["suffix"], "" if i + 1 == len(pieces) else " ") for i, piece in enumerate(pieces)]
    if kind == "Strip":
        for _ in range(step["start"]):
            pieces = [piece[1:] if piece.startswith(step["content"]) else piece for piece in pieces]
        return pieces
    return {"ByteFallback": lambda: from_fallback_bytes(pieces), "Fuse": lambda: ["".join(pieces)],
            "WordPiece": lambda: without_word_pieces(step, pieces),
            "Metaspace": lambda: without_metaspace(step, pieces),
            "Replace": lambda: [piece.replace(step["pattern"]["String"], step["content"]) for piece in pieces]}[kind]()


# --- A whole tokenizer -------------------------------------------------------------------------------------------------

def encoded(tokenizer, text):
    """Tokens and the bytes of the text that each stands for."""
    chars, tokens, at = aligned(text), [], 0
    added = sorted(tokenizer["added_tokens"], key=lambda token: -len(token["content"]))

    def plain(part):
        words = split_words(tokenizer["pre_tokenizer"], normalized(tokenizer["normalizer"], part), part[0].begin == 0)
        for word in words:
            tokens.extend(MODELS[tokenizer["model"]["type"]](tokenizer["model"], word))
    done = 0
    while at < len(text):
        token = next((t for t in added if text.startswith(t["content"], at)), None)
        if not token:
            at += 1
            continue
        if done < at:
            plain(chars[done:at])
        done = at + len(token["content"])
        tokens.append((token["id"], span(chars[at:done])))
        at = done
    if done < len(text):
        plain(chars[done:])
    return tokens


def decoded(tokenizer, tokens):
    vocabulary = tokenizer["model"]["vocab"]
    names = dict(enumerate(piece for piece, _ in vocabulary)) if isinstance(vocabulary, list) else \
        {token: piece for piece, token in vocabulary.items()}
    names |= {token["id"]: token["content"] for token in tokenizer["added_tokens"]}
    pieces = [names[token] for token, _ in tokens]
    return " ".join(pieces) if tokenizer["decoder"] is None else "".join(joined(tokenizer["decoder"], pieces))


# --- Training: just enough for vocabularies that are no toys ------------------------------------------------------------

def corpus_words(tokenizer):
    words = collections.Counter()
    for line in CORPUS:
        for word in split_words(tokenizer["pre_tokenizer"], normalized(tokenizer["normalizer"], aligned(line)), True):
            words[text_of(word)] += 1
    return words


def train_pairs(words, count, prefix="", suffix=""):
    """Pieces in the order of their making, and merges."""
    split = {word: [(prefix if i else "") + c + (suffix if i + 1 == len(word) else "") for i, c in enumerate(word)]
             for word in words}
    pieces = sorted({piece for symbols in split.values() for piece in symbols})
    merges = []
    while len(merges) < count:
        pairs = collections.Counter()
        for word, symbols in split.items():
            for pair in zip(symbols, symbols[1:]):
                pairs[pair] += words[word]
        pair, often = max(pairs.items(), key=lambda item: (item[1], item[0]), default=(None, 0))
        if often < 2:
            break
        merges.append(list(pair))
        new = pair[0] + pair[1][len(prefix):]
        if new not in pieces:
            pieces.append(new)
        for symbols in split.values():
            for i in range(len(symbols) - 2, -1, -1):
                if tuple(symbols[i:i + 2]) == pair:
                    symbols[i:i + 2] = [new]
    return pieces, merges


def train_likely_pieces(words, count, rounds=3):
    """Frequent substrings, counted again in the most likely readings of the corpus."""
    counts = collections.Counter()
    for word, often in words.items():
        for begin in range(len(word)):
            for end in range(begin + 1, min(begin + 8, len(word)) + 1):
                counts[word[begin:end]] += often
    for i in range(rounds):
        kept = sorted(counts.items(), key=lambda item: (-item[1] * len(item[0]), item[0]))[:count * (rounds - i)]
        total = sum(often for _, often in kept)
        # Coarse scores make equal sums, which is where readings of the algorithm can differ.
        vocab = [["<unk>", 0.0]] + [[piece, round(math.log(often / total), 1)] for piece, often in kept]
        counts = collections.Counter({piece: 0 for piece in set("".join(words)) if words})
        for word, often in words.items():
            for token, (begin, end) in most_likely_pieces({"vocab": vocab, "unk_id": 0}, aligned(word)):
                counts[word.encode()[begin:end].decode()] += often
        counts = +counts
    return vocab[1:]


# --- The families ------------------------------------------------------------------------------------------------------

def numbered(pieces):
    return {piece: token for token, piece in enumerate(dict.fromkeys(pieces))}


def file_of(model, normalizer=None, pre_tokenizer=None, decoder=None, added=()):
    size = len(model["vocab"])
    known = dict((p, i) for i, (p, _) in enumerate(model["vocab"])) if isinstance(model["vocab"], list) else model["vocab"]
    tokens = [{"id": known.get(text, size + i), "content": text, "single_word": False, "lstrip": False, "rstrip": False,
               "normalized": False, "special": True} for i, text in enumerate(added)]
    return {"version": "1.0", "truncation": None, "padding": None, "added_tokens": tokens, "normalizer": normalizer,
            "pre_tokenizer": pre_tokenizer, "post_processor": None, "decoder": decoder, "model": model}


def pair_model(steps, merges, special=(), prefix="", suffix="", **settings):
    pieces, pairs = train_pairs(corpus_words(steps), merges, prefix, suffix)
    # Some characters are left out, so that unknown ones occur.
    rare = set(pieces[5:200:9]) if settings.get("unk_token") else set()
    pieces = [p for p in pieces if p not in rare]
    pairs = [pair for pair in pairs if not rare & {*pair, pair[0] + pair[1][len(prefix):]}]
    if settings.get("byte_fallback"):
        special = [*special, *(f"<0x{b:02X}>" for b in range(256))]
    return {"type": "BPE", "dropout": None, "unk_token": None, "continuing_subword_prefix": prefix or None,
            "end_of_word_suffix": suffix or None, "fuse_unk": False, "byte_fallback": False, "ignore_merges": False,
            "vocab": numbered([*special, *pieces]), "merges": pairs} | settings


def byte_level():
    words = {"type": "ByteLevel", "add_prefix_space": False, "trim_offsets": True, "use_regex": True}
    steps = {"normalizer": None, "pre_tokenizer": words}
    pieces, merges = train_pairs(corpus_words(steps), 350)
    model = {"type": "BPE", "dropout": None, "unk_token": None, "continuing_subword_prefix": "", "end_of_word_suffix": "",
             "fuse_unk": False, "vocab": numbered([LETTERS[b] for b in range(256)] + pieces), "merges": merges}
    return file_of(model, **steps, decoder=dict(words, add_prefix_space=True), added=["<|endoftext|>", "<|mark|>"])


def byte_level_prefixed():
    words = {"type": "ByteLevel", "add_prefix_space": True, "trim_offsets": True, "use_regex": True}
    steps = {"normalizer": {"type": "NFC"}, "pre_tokenizer": words}
    pieces, merges = train_pairs(corpus_words(steps), 150)
    model = {"type": "BPE", "dropout": 0.1, "unk_token": None, "continuing_subword_prefix": None,
             "end_of_word_suffix": None, "fuse_unk": False, "ignore_merges": True,
             "vocab": numbered(["<s>"] + [LETTERS[b] for b in range(256)] + pieces + ["Ġunmergeable"]), "merges": merges}
    return file_of(model, **steps, decoder=words, added=["<s>"])


def word_suffix():
    steps = {"normalizer": {"type": "Lowercase"}, "pre_tokenizer": {"type": "Whitespace"}}
    model = pair_model(steps, 300, ["<unk>"], suffix="</w>", unk_token="<unk>")
    return file_of(model, **steps, decoder={"type": "BPEDecoder", "suffix": "</w>"}, added=["<unk>"])


def continuing_prefix():
    steps = {"normalizer": {"type": "NFKC"}, "pre_tokenizer": {"type": "Sequence", "pretokenizers": [
        {"type": "WhitespaceSplit"}, {"type": "Digits", "individual_digits": True}]}}
    model = pair_model(steps, 250, ["[UNK]"], prefix="##", unk_token="[UNK]", fuse_unk=True)
    return file_of(model, **steps, decoder={"type": "WordPiece", "prefix": "##", "cleanup": False}, added=["[UNK]"])


def byte_fallback():
    steps = {"normalizer": {"type": "Sequence", "normalizers": [
        {"type": "Prepend", "prepend": "▁"}, {"type": "Replace", "pattern": {"String": " "}, "content": "▁"}]},
        "pre_tokenizer": None}
    model = pair_model(steps, 300, ["<unk>", "<s>", "</s>"], unk_token="<unk>", fuse_unk=True, byte_fallback=True)
    return file_of(model, **steps, added=["<unk>", "<s>", "</s>"], decoder={"type": "Sequence", "decoders": [
        {"type": "Replace", "pattern": {"String": "▁"}, "content": " "}, {"type": "ByteFallback"}, {"type": "Fuse"},
        {"type": "Strip", "content": " ", "start": 1, "stop": 0}]})


def metaspace(scheme, split=True):
    return {"type": "Metaspace", "replacement": "▁", "prepend_scheme": scheme, "split": split}


def metaspace_pairs():
    steps = {"normalizer": None, "pre_tokenizer": metaspace("first")}
    model = pair_model(steps, 300, ["<unk>", "</s>"], unk_token="<unk>", byte_fallback=True)
    del model["vocab"]["<0xE4>"], model["vocab"]["<0xF0>"]  # then characters with these bytes are unknown
    model["vocab"] = numbered(model["vocab"])
    return file_of(model, **steps, added=["</s>"], decoder={"type": "Sequence", "decoders": [
        {"type": "ByteFallback"}, metaspace("first")]})


def word_piece(lowercase):
    steps = {"normalizer": {"type": "BertNormalizer", "clean_text": True, "handle_chinese_chars": True,
                            "strip_accents": None, "lowercase": lowercase}, "pre_tokenizer": {"type": "BertPreTokenizer"}}
    pieces, _ = train_pairs(corpus_words(steps), 300, "##")
    special = ["[PAD]", "[UNK]", "[CLS]", "[SEP]", "[MASK]"]
    kept = [p for i, p in enumerate(pieces) if i > 240 or i % 9]
    model = {"type": "WordPiece", "unk_token": "[UNK]", "continuing_subword_prefix": "##",
             "max_input_chars_per_word": 20, "vocab": numbered(special + kept)}
    return file_of(model, **steps, decoder={"type": "WordPiece", "prefix": "##", "cleanup": lowercase}, added=special)


def unigram(fallback):
    normalizer = {"type": "Sequence", "normalizers": [
        {"type": "Precompiled", "precompiled_charsmap": made_charsmap()},
        {"type": "Replace", "pattern": {"String": "  "}, "content": " "}]}
    steps = {"normalizer": None if fallback else normalizer, "pre_tokenizer": metaspace("always", not fallback)}
    special = [["<unk>", 0.0], ["<s>", 0.0], ["</s>", 0.0]]
    pieces = [p for i, p in enumerate(train_likely_pieces(corpus_words(steps | {"pre_tokenizer": metaspace("always")}), 400))
              if len(p[0]) > 1 or p[0] == "▁" or i % 5]
    if fallback:
        special += [[f"<0x{b:02X}>", 0.0] for b in range(256)]
    model = {"type": "Unigram", "unk_id": 0, "vocab": special + pieces, "byte_fallback": fallback}
    after = metaspace("always")
    decoder = {"type": "Sequence", "decoders": [{"type": "ByteFallback"}, after]} if fallback else after
    return file_of(model, **steps, decoder=decoder, added=["<unk>", "<s>", "</s>"])


def word_level():
    steps = {"normalizer": None, "pre_tokenizer": {"type": "Whitespace"}}
    words = [word for i, word in enumerate(corpus_words(steps)) if i % 4]
    return file_of({"type": "WordLevel", "vocab": numbered(["[UNK]"] + words), "unk_token": "[UNK]"}, **steps,
                   added=["[UNK]", "[MASK]"])


FAMILIES = {"byte_level": byte_level, "byte_level_prefixed": byte_level_prefixed, "word_suffix": word_suffix,
            "continuing_prefix": continuing_prefix, "byte_fallback": byte_fallback, "metaspace_pairs": metaspace_pairs,
            "word_piece": lambda: word_piece(True), "word_piece_cased": lambda: word_piece(False),
            "unigram": lambda: unigram(False), "unigram_bytes": lambda: unigram(True), "word_level": word_level}


# --- The table of a normalizer of the type Precompiled: a double array of the keys' bytes, then the values ---------------

CHARSMAP = {"ﬁ": "fi", "Ａ": "A", "１": "1", "２": "2", "①": "1", "²": "2", "½": "1⁄2", "Ⅻ": "XII", "…": "...", "\t": " ",
            "\n": " ", "\r": " ", "\u00a0": " ", "\u3000": " ", "\u2003": " ", "’": "'", "！": "!"}


def offset_of(unit):
    return (unit >> 10) << ((unit & 0x200) >> 6)


def made_charsmap():
    texts, places = b"", {}
    for value in CHARSMAP.values():
        if value not in places:
            places[value] = len(texts)
            texts += value.encode() + b"\0"
    tree = {}
    for key, value in CHARSMAP.items():
        node = tree
        for byte in key.encode():
            node = node.setdefault(byte, {})
        node[0] = places[value]
    units, used, bases = [0] * 4096, {0}, set()

    def place(node, at):
        base = next(b for b in range(1, 2048) if b not in bases and all((b ^ label) not in used for label in node))
        bases.add(base)  # nodes of one base would share their children
        used.update(base ^ label for label in node)
        units[at] |= (base ^ at) << 10 | (0x100 if 0 in node else 0)
        for label, child in node.items():
            units[base ^ label] = child | 0x80000000 if label == 0 else label
        for label, child in node.items():
            if label:
                place(child, base ^ label)
    place(tree, 0)
    size = (max(used) | 0xFF) + 1
    table = struct.pack(f"<{size}I", *units[:size])
    return base64.b64encode(struct.pack("<I", len(table)) + table + texts).decode()


# --- Texts -------------------------------------------------------------------------------------------------------------

FIXED = ["", " ", "  ", "\n", "Hello world", " Hello,  world! ", "don'T CAN'T 'tis ''s we'll", "a" * 40, "unmergeable unmergeable",
         "supercalifragilisticexpialidocious", "<s>text</s>", "a<|mark|>b <|endoftext|>", "[CLS] masked [MASK] [SEP]",
         "<unk>", "\u0301", "日", "👍🏽", "▁ ▁▁a", "İstanbul", "x<0x41>y", "\u200b\ufeffz\u0007"]


DEMO_TEXTS = [
    "Hello world", " Hello, world! It's 2024, isn't it? We'll see; they've said I'm sure he'd go.",
    "Grüße aus Köln, schöne Straße – „Zitat“", "नमस्ते दुनिया, आप कैसे हैं?", "今日は良い天気ですね。漢字とカナ",
    "👨‍👩‍👧‍👦 family 🏳️‍🌈 and 🇩🇪 flags 👍🏽", "two  blanks   three \n\n\t tabs\r\n end  ", "x²+½≈٣٤ Ⅻ", "don'T CAN'T 'tis ''s",
    "a\u00a0b\u2003c\u0085d\u000be", "combining e\u0301 n\u0303", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "https://a.example/?q=1&r=%20#x_y",
    "\u200b\ufeff\u0000\u0001\u007f", " ", "", "العربية שלום ไทย 한국어",
]


def random_text(random_source):
    parts = []
    for _ in range(random_source.randrange(1, 9)):
        kind = random_source.randrange(10)
        if kind < 5:
            words = random_source.choice(CORPUS).split(" ")
            parts.append(random_source.choice(words))
        elif kind < 7:
            parts.append("".join(random_source.choice(RARE) for _ in range(random_source.randrange(1, 5))))
        elif kind < 8:
            parts.append("".join(chr(random_source.randrange(0x21, 0x7F)) for _ in range(random_source.randrange(1, 6))))
        elif kind < 9:
            word = random_source.choice(random_source.choice(CORPUS).split(" ")) or "x"
            begin = random_source.randrange(len(word))
            parts.append(word[begin:] + word[:begin].upper())
        else:
            parts.append(random_source.choice(["<s>", "</s>", "<|mark|>", "[UNK]", "12", "3.14", "0x1F", "::", "a\u0301b"]))
        if random_source.randrange(4):
            parts.append(random_source.choice(BLANKS))
    return "".join(parts)


def made_texts(count, seed):
    random_source = random.Random(seed)
    texts = FIXED + CORPUS
    return texts + [random_text(random_source) for _ in range(count - len(texts))]


def compact(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def write_family(folder, name, tokenizer, texts):
    rows = []
    for text in texts:
        tokens = encoded(tokenizer, text)
        back = decoded(tokenizer, tokens)
        row = {"tokens": [token for token, _ in tokens], "ranges": [at for _, where in tokens for at in where]}
        rows.append(compact(row if back == text else row | {"decoded": back}))
    tokenizer["model"].pop("ranks", None)
    (folder / f"{name}.json").write_text(compact(tokenizer) + "\n", encoding="utf-8")
    (folder / f"{name}_expected.json").write_text("[\n" + ",\n".join(rows) + "\n]\n", encoding="utf-8")


def write_demo_model(folder, texts):
    """The tokens of a published byte-level vocabulary, in the demonstration model, with the same plain reading."""
    model_folder = pathlib.Path(__file__).parent.parent / "resources/models/micro-whisper-espeak.en"
    tokenizer = json.loads((model_folder / "tokenizer.json").read_text(encoding="utf-8"))
    model = tokenizer["model"]
    model["merges"] = [pair.split(" ") if isinstance(pair, str) else pair for pair in model["merges"]]
    rows = [json.dumps({"text": text, "tokens": [token for token, _ in encoded(tokenizer, text)]}) for text in texts]
    (folder / "demo_model_expected.json").write_text("[\n" + ",\n".join(rows) + "\n]\n", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--texts", type=int, default=120)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("folder", nargs="?", type=pathlib.Path,
                        default=pathlib.Path(__file__).parent.parent / "tests/hub/tokenizers/data")
    arguments = parser.parse_args()
    arguments.folder.mkdir(parents=True, exist_ok=True)
    texts = made_texts(arguments.texts, arguments.seed)
    (arguments.folder / "texts.json").write_text(
        "[\n" + ",\n".join(json.dumps(text) for text in texts) + "\n]\n", encoding="utf-8")
    for name, make in FAMILIES.items():
        write_family(arguments.folder, name, make(), texts)
    write_demo_model(arguments.folder, DEMO_TEXTS)


main()
