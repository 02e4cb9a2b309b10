#pragma once

#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/Vocabulary.h"

#include <string>
#include <string_view>
#include <vector>

/// The files in which older models keep what a tokenizer.json has in one. `source` is what error texts call the file.
/// Errors: TokenizerError for what is not of the file's form.
namespace fenlo::hub {

/// A vocab.json: an object of ids by piece, none of which may occur twice. An added_tokens.json has the same form.
Vocabulary readVocabularyJson(std::string_view json, const std::string& source);

/// A vocab.txt: a piece on each line, numbered from 0. An empty line leaves its number free; of a piece that occurs
/// twice the last number counts.
Vocabulary readVocabularyText(std::string_view text, const std::string& source);

/// A merges.txt: the two pieces of a merge on each line, the best first. A line that begins with "#version" and empty
/// lines are none.
std::vector<MergeText> readMergesText(std::string_view text, const std::string& source);

} // namespace fenlo::hub
