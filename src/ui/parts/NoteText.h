#pragma once

#include "shell/home/Note.h"

#include <QString>

namespace fenlo {

/// The kind of a note as Notice knows it.
inline QString kindOf(const Note& note) {
    switch (note.kind) {
    case Note::Kind::good:
        return QStringLiteral("good");
    case Note::Kind::warning:
        return QStringLiteral("warning");
    case Note::Kind::error:
        return QStringLiteral("error");
    case Note::Kind::none:
    case Note::Kind::info:
        break;
    }
    return QStringLiteral("info");
}

inline QString textOf(const Note& note) {
    return QString::fromStdString(note.text);
}

} // namespace fenlo
