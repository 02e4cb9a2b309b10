#!/usr/bin/env python3
"""usage: bench/make_history.py FILE [ENTRIES]

Writes a statistics file as the program would have it after so many dictations (20000), in several scripts and lengths.
"""

import datetime
import json
import random
import sys
import uuid
from pathlib import Path

WORDS = "the report for Friday is almost done and the numbers of last week look better than we thought they would".split()
SPECIAL = [
    "नमस्ते, आज की बैठक दोपहर तीन बजे है, कृपया समय पर आएँ।",
    "שלום, הפגישה נדחתה ליום שלישי בשעה 10:00.",
    "مرحباً، سنلتقي غداً في المكتب الرئيسي.",
    "Crème brûlée für Zoë, naïve façade, 東京で会いましょう 👩‍👩‍👧",
    "First line of a list:\n- apples\n- pears\n- plums\n- the last of them",
]


def text_of(number, dice):
    if number % 23 == 0:
        return SPECIAL[number // 23 % len(SPECIAL)]
    return " ".join(dice.choice(WORDS) for _ in range(dice.choice((6, 15, 30, 40, 120)))) + f" {number}."


def make(entries, now):
    dice = random.Random(7)
    daily, history = {}, []
    when = now - datetime.timedelta(minutes=4)
    for number in range(entries):
        text = text_of(number, dice)
        words, seconds = len(text.split()), round(len(text.split()) / dice.uniform(1.8, 2.8), 2)
        day = daily.setdefault(when.astimezone().strftime("%Y-%m-%d"), {"words": 0, "sessions": 0, "duration": 0.0})
        day["words"] += words
        day["sessions"] += 1
        day["duration"] += seconds
        history.append({
            "entry_id": str(uuid.UUID(int=dice.getrandbits(128), version=4)).upper(),
            "ts": when.strftime("%Y-%m-%dT%H:%M:%SZ"),
            "words": words,
            "wpm": round(words / seconds * 60, 1),
            "duration": seconds,
            "text_preview": text[:80],
            "full_text": text,
            "synced": True,
        })  # fmt: skip
        when -= datetime.timedelta(minutes=dice.choice((2, 9, 40, 55, 240)))
    return {
        "total_words": sum(day["words"] for day in daily.values()),
        "total_sessions": entries,
        "total_duration_secs": sum(day["duration"] for day in daily.values()),
        "daily": dict(sorted(daily.items())),
        "history": history[::-1],
    }


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3) or sys.argv[1].startswith("-"):
        sys.exit(__doc__.strip())
    file = Path(sys.argv[1])
    file.parent.mkdir(parents=True, exist_ok=True)
    made = make(int(sys.argv[2]) if len(sys.argv) == 3 else 20000, datetime.datetime.now(datetime.timezone.utc))
    file.write_text(json.dumps(made, ensure_ascii=False, indent=2) + "\n")
