#include "hub/tokenizers/models/Unigram.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace fenlo::hub {

namespace {

constexpr double unknownPenalty = 10;

int readUnknownId(const JsonNode& node, const Vocabulary& vocabulary, int whenMissing) {
    const JsonNode unknown = node.member("unk_id");
    return unknown.isNull() ? whenMissing : unknown.integer(std::max(vocabulary.size() - 1, 0));
}

} // namespace

/// The best way to the end of a part of the word.
struct Unigram::Best {
    double score = -std::numeric_limits<double>::infinity();
    std::uint32_t begin = 0; // of the last piece
    int token = noToken;     // its id
};

Unigram::Unigram(const JsonNode& node, const TokenizerDocument& document)
    : m_unknown(readUnknownId(node, document.vocabulary, noToken)),
      m_bytes(node.member("byte_fallback").boolean(false) ? ByteTokens(document.vocabulary) : ByteTokens()),
      m_pieces(triePieces(node, document.vocabulary,
                          // No text spells the unknown piece or the bytes.
                          [this](int id) { return id == m_unknown || m_bytes.contain(id); })),
      m_scores(document.scores) {
    requireModel(node, document, "Unigram", VocabularyForm::list);
    node.allowOnly({"type", "vocab", "unk_id", "byte_fallback"});
    m_unknownScore = (m_scores.empty() ? 0 : *std::ranges::min_element(m_scores)) - unknownPenalty;
}

void Unigram::encode(std::string_view word, const Vocabulary&, std::vector<ModelToken>& tokens) const {
    const std::vector<Best> best = bestPieces(word);
    std::vector<ModelToken> path; // from the end of the word
    for (auto end = static_cast<std::uint32_t>(word.size()); end > 0; end = best[end].begin) {
        const ModelToken last{best[end].token, best[end].begin, end};
        if (last.id == m_unknown && !path.empty() && path.back().id == m_unknown)
            path.back().begin = last.begin;
        else
            path.push_back(last);
    }
    for (auto token = path.rbegin(); token != path.rend(); ++token)
        if (token->id == m_unknown)
            appendUnknown(word, *token, tokens);
        else
            tokens.push_back(*token);
}

std::vector<Unigram::Best> Unigram::bestPieces(std::string_view word) const {
    std::vector<Best> best(word.size() + 1); // [end]; only ends of characters are reached
    best[0].score = 0;
    for (std::size_t begin = 0; begin < word.size();) {
        const std::size_t characterEnd = begin + characterLength(word[begin]);
        const auto tryPiece = [&](std::size_t end, double score, int token) {
            if (best[begin].score + score > best[end].score)
                best[end] = {best[begin].score + score, static_cast<std::uint32_t>(begin), token};
        };
        bool isPiece = false;
        std::optional<PieceTrie::Node> node = PieceTrie::root;
        for (std::size_t end = begin; end < word.size();) {
            node = m_pieces.child(*node, word[end++]);
            if (!node)
                break;
            const int piece = m_pieces.pieceAt(*node);
            if (piece == PieceTrie::noPiece)
                continue;
            tryPiece(end, m_scores[static_cast<std::size_t>(piece)], piece);
            isPiece = isPiece || end == characterEnd;
        }
        if (!isPiece)
            tryPiece(characterEnd, m_unknownScore, m_unknown);
        begin = characterEnd;
    }
    return best;
}

void Unigram::appendUnknown(std::string_view word, ModelToken run, std::vector<ModelToken>& tokens) const {
    if (m_bytes.have(word.substr(run.begin, run.end - run.begin)))
        for (std::uint32_t at = run.begin; at < run.end; ++at)
            tokens.push_back({m_bytes.of(word[at]), at, at + 1});
    else if (m_unknown != noToken)
        tokens.push_back(run);
}

} // namespace fenlo::hub
