#include "base/SearchKey.h"

#include <algorithm>
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

namespace fenlo::text {

namespace {

using Normalizer = const icu::Normalizer2* (*)(UErrorCode&);

constexpr UChar32 firstMark = 0x300;
constexpr UChar32 dotlessI = 0x131;
constexpr UChar32 kanaMarks[] = {0x3099, 0x309A};

bool isAsciiOnly(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

std::string normalized(Normalizer get, std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = get(status);
    std::string out;
    icu::StringByteSink<std::string> sink(&out);
    if (U_SUCCESS(status))
        normalizer->normalizeUTF8(0, {text.data(), static_cast<int32_t>(text.size())}, sink, nullptr, status);
    return U_SUCCESS(status) ? out : std::string(text);
}

/// Of a letter that has been taken apart. Marks that belong to one script are letters to its readers, but for the
/// points of Hebrew, which few write; voiced kana are letters too.
bool isAccent(UChar32 c) {
    if (c < firstMark || u_charType(c) != U_NON_SPACING_MARK || c == kanaMarks[0] || c == kanaMarks[1])
        return false;
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(c, &status);
    return script == USCRIPT_INHERITED || script == USCRIPT_HEBREW;
}

} // namespace

std::string searchKey(std::string_view text) {
    std::string key(text);
    if (isAsciiOnly(text)) {
        for (char& c : key)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        return key;
    }
    key.clear();
    const std::string letters =
        normalized(icu::Normalizer2::getNFDInstance, normalized(icu::Normalizer2::getNFKCCasefoldInstance, text));
    for (std::size_t at = 0; at < letters.size();) {
        const std::size_t start = at;
        UChar32 c = U_SENTINEL;
        U8_NEXT(reinterpret_cast<const uint8_t*>(letters.data()), at, letters.size(), c);
        if (c == dotlessI)
            key += 'i';
        else if (c < 0)
            key += "\uFFFD";
        else if (!isAccent(c))
            key.append(letters, start, at - start);
    }
    return key;
}

} // namespace fenlo::text
