#include "hub/tokenizers/models/Model.h"

#include <string>

namespace fenlo::hub {

namespace {

std::string typeOf(const JsonNode& node, const TokenizerDocument& document) {
    if (!node.member("type").isNull())
        return node.type();
    if (document.form == VocabularyForm::list)
        return "Unigram";
    if (node.has("max_input_chars_per_word"))
        return "WordPiece";
    // Nothing but words and the unknown one.
    return node.has("unk_token") && !node.has("merges") ? "WordLevel" : "BPE";
}

} // namespace

Model readModel(const JsonNode& node, const TokenizerDocument& document) {
    const std::string type = typeOf(node, document);
    if (type == "BPE")
        return BytePairEncoding(node, document);
    if (type == "WordPiece")
        return WordPiece(node, document);
    if (type == "Unigram")
        return Unigram(node, document);
    if (type == "WordLevel")
        return WordLevel(node, document);
    node.refuseType();
}

} // namespace fenlo::hub
