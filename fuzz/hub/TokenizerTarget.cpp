// Tokenizer files: any bytes end in a one-line error or in a tokenizer that turns any text into known tokens with sound
// ranges, into sequences as long as promised, and any tokens into valid text.

#include "RequireSequences.h"
#include "hub/tokenizers/Tokenizer.h"

#include <cstdint>
#include <cstring>

using namespace fenlo;

namespace {

/// The same tokens as without ranges, each from within the text and none from before the one before it.
void requireSoundRanges(const hub::Tokenizer& tokenizer, std::string_view text, const std::vector<int>& ids) {
    const hub::Encoding encoding = tokenizer.encoding({text}, {.addsSpecialTokens = false});
    require(encoding.tokens.size() == ids.size());
    std::size_t begin = 0;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const hub::EncodedToken& token = encoding.tokens[i];
        require(token.id == ids[i]);
        require(begin <= token.range.begin && token.range.begin <= token.range.end && token.range.end <= text.size());
        begin = token.range.begin;
    }
}

void tryOut(const hub::Tokenizer& tokenizer, std::string_view text) {
    const std::vector<int> tokens = tokenizer.encode(text);
    for (const int token : tokens)
        require(tokenizer.idToToken(token).has_value());
    requireSoundRanges(tokenizer, text, tokens);
    for (const bool skipSpecialTokens : {false, true})
        requireUtf8(tokenizer.decode(tokens, skipSpecialTokens));
    requireUtf8(tokenizer.decode(std::vector{-1, 3, 0, 1, 7, 2, tokenizer.vocabularySize()}));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    try {
        const hub::Tokenizer tokenizer = hub::Tokenizer::parse(file, "tokenizer.json");
        for (const char* text :
             {"", " Hello, w\u00F6rld 12\u00B2  \u65E5\u672C \U0001F600\n <s>aab abab", "\xFF\xE2\x82 a"})
            tryOut(tokenizer, text);
        tryOut(tokenizer, file.substr(0, 2000));
        requireSequences(tokenizer, " Hello, w\u00F6rld 12  \u65E5 \U0001F600\n <s>aab abab \xFF\xE2");
    } catch (const hub::TokenizerError& error) {
        require(std::strchr(error.what(), '\n') == nullptr);
    }
    return 0;
}
