#include "hub/tokenizers/steps/ByteLetters.h"

#include <array>
#include <string_view>

namespace fenlo::hub {

namespace {

constexpr unsigned othersBegin = 0x100;

struct Alphabet {
    std::array<unsigned, 256> letters{};      // [byte], code points
    std::array<int, othersBegin + 256> bytes; // [code point], -1 outside the alphabet

    constexpr Alphabet() : bytes() {
        bytes.fill(-1);
        unsigned other = othersBegin;
        for (unsigned byte = 0; byte < letters.size(); ++byte) {
            const bool isPrintable = (byte >= 0x21 && byte <= 0x7E) || (byte >= 0xA1 && byte <= 0xAC) || byte >= 0xAE;
            letters[byte] = isPrintable ? byte : other++;
            bytes[letters[byte]] = static_cast<int>(byte);
        }
    }
};

constexpr Alphabet alphabet;

} // namespace

void writeByteLetters(AlignedTextWriter& writer, std::size_t end) {
    for (std::size_t at = writer.done(); at < end; ++at) {
        const unsigned letter = alphabet.letters[static_cast<unsigned char>(writer.oldText()[at])];
        if (letter < 0x80) // the byte itself
            continue;
        // All are below U+0800, two bytes.
        const char bytes[]{static_cast<char>(0xC0 | letter >> 6), static_cast<char>(0x80 | (letter & 0x3F))};
        writer.keep(at);
        writer.replace(at + 1, {bytes, sizeof bytes});
    }
    writer.keep(end);
}

std::string fromByteLetters(const std::string& letters) {
    std::string out;
    out.reserve(letters.size());
    for (std::size_t at = 0; at < letters.size();) {
        unsigned letter = static_cast<unsigned char>(letters[at++]);
        if (letter >= 0x80 && at < letters.size()) // longer sequences give numbers beyond the table
            letter = (letter & 0x3FU) << 6 | (static_cast<unsigned char>(letters[at++]) & 0x3FU);
        const int byte = letter < alphabet.bytes.size() ? alphabet.bytes[letter] : -1;
        if (byte < 0)
            return letters;
        out += static_cast<char>(byte);
    }
    return out;
}

} // namespace fenlo::hub
