#pragma once

#include "hub/tokenizers/AlignedText.h"
#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A text and where its words are in it: in order, none empty, none within another.
struct Words {
    AlignedText text;
    std::vector<TextRange> ranges;

    std::string_view textOf(const TextRange& word) const {
        return std::string_view(text.text()).substr(word.begin, word.size());
    }
};

/// Cuts text into words; a model finds tokens within a word only. Null, Sequence, and
///     BertPreTokenizer                       at white space, every mark of punctuation being a word
///     ByteLevel                              into words with the blank before them, as ByteLetters
///     CharDelimiterSplit, WhitespaceSplit    at a character, at white space
///     Digits, Punctuation                    around numbers or their digits, at marks of punctuation
///     FixedLength                            into so many characters each
///     Metaspace                              at blanks, which become visible; see Metaspace
///     Split                                  at a pattern; see SplitBehavior
///     UnicodeScripts                         where the script changes; see ScriptSplit
///     Whitespace                             into runs of word characters and runs of others
class PreTokenizer {
public:
    /// Errors: TokenizerError for anything else.
    static PreTokenizer read(const JsonNode& node);

    /// `text` is valid UTF-8. `isStart`: it stands at the beginning of what is tokenized.
    Words split(AlignedText text, bool isStart) const;

private:
    using Step = std::function<void(Words& words, bool isStart)>;

    std::vector<Step> m_steps;
};

} // namespace fenlo::hub
