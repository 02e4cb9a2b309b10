#include "hub/tokenizers/steps/UnicodeForms.h"

#include <cstdint>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/edits.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <utility>

namespace fenlo::hub {

namespace {

/// Writes what ICU's edits changed; `out` is the whole new text.
void applyEdits(const icu::Edits& edits, std::string_view out, AlignedText& text) {
    UErrorCode status = U_ZERO_ERROR;
    AlignedTextWriter writer(text);
    for (icu::Edits::Iterator edit = edits.getFineChangesIterator(); edit.next(status);) {
        const auto begin = static_cast<std::size_t>(edit.sourceIndex());
        writer.keep(begin);
        writer.replace(
            begin + static_cast<std::size_t>(edit.oldLength()),
            out.substr(static_cast<std::size_t>(edit.destinationIndex()), static_cast<std::size_t>(edit.newLength())));
    }
    writer.finish();
}

/// `transform(source, sink, edits, status)` is one of ICU's functions. A text without origins needs no edits.
template <typename Transform>
void rewrite(AlignedText& text, Transform transform) {
    const icu::StringPiece source(text.text().data(), static_cast<int32_t>(text.text().size()));
    std::string out;
    icu::StringByteSink<std::string> sink(&out, source.length());
    icu::Edits edits;
    UErrorCode status = U_ZERO_ERROR;
    transform(source, sink, text.isTracked() ? &edits : nullptr, status);
    edits.copyErrorTo(status);
    if (U_FAILURE(status))
        return;
    if (!text.isTracked())
        text = AlignedText::plain(std::move(out));
    else if (edits.hasChanges())
        applyEdits(edits, out, text);
}

/// Writes each capital sigma small. A vocabulary knows letters by themselves, while ICU would give the one at the end
/// of a word the form of its place.
void writeSmallSigmas(AlignedText& text) {
    constexpr std::string_view capital = "\u03A3";
    if (text.text().find(capital) == std::string::npos)
        return;
    AlignedTextWriter writer(text);
    const std::string& old = writer.oldText();
    for (std::size_t at = old.find(capital); at != std::string::npos; at = old.find(capital, writer.done())) {
        writer.keep(at);
        writer.replace(at + capital.size(), "\u03C3");
    }
    writer.finish();
}

const icu::Normalizer2* normalizerOf(UnicodeForm form, UErrorCode& status) {
    switch (form) {
    case UnicodeForm::nfc:
        return icu::Normalizer2::getNFCInstance(status);
    case UnicodeForm::nfd:
        return icu::Normalizer2::getNFDInstance(status);
    case UnicodeForm::nfkc:
        return icu::Normalizer2::getNFKCInstance(status);
    default:
        return icu::Normalizer2::getNFKDInstance(status);
    }
}

} // namespace

void normalizeTo(UnicodeForm form, AlignedText& text) {
    UErrorCode found = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = normalizerOf(form, found);
    if (U_FAILURE(found)) // ICU lacks its data, and with it all of Unicode
        return;
    rewrite(text, [&](icu::StringPiece source, icu::ByteSink& sink, icu::Edits* edits, UErrorCode& status) {
        normalizer->normalizeUTF8(0, source, sink, edits, status);
    });
}

void lowercase(AlignedText& text) {
    writeSmallSigmas(text);
    rewrite(text, [](icu::StringPiece source, icu::ByteSink& sink, icu::Edits* edits, UErrorCode& status) {
        icu::CaseMap::utf8ToLower("", 0, source, sink, edits, status);
    });
}

} // namespace fenlo::hub
