#pragma once

#include "hub/tokenizers/TokenizerDocument.h"

#include <filesystem>

namespace fenlo::hub {

/// Writes the tokenizer.json of a folder that has none, from the files of older models: a vocab.json with merges.txt,
/// which is byte-pair encoding on bytes, or a vocab.txt, which is WordPiece with BERT's steps; beside them an
/// added_tokens.json, a tokenizer_config.json and a special_tokens_map.json, as far as they are there.
///
/// The family is the one that "tokenizer_class" names. Without a class the vocabulary itself must show that it is of
/// the family of its files; nothing is taken from another family.
/// Errors: TokenizerError for files that are missing, damaged or contradict each other, and for other families.
TokenizerDocument readSeparateFiles(const std::filesystem::path& folder);

} // namespace fenlo::hub
