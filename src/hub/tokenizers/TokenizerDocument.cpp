#include "hub/tokenizers/TokenizerDocument.h"

#include "base/StrictJson.h"
#include "hub/tokenizers/JsonNode.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace fenlo::hub {

namespace {

using nlohmann::json;

constexpr double largestScore = 1e9; // of a piece; sums of them must stay exact enough to compare

/// Takes vocabulary and merges out of the document, each entry as it is read.
class DocumentReader final : public StrictJsonReader {
public:
    DocumentReader(TokenizerDocument& document, const std::string& source) : m_document(document), m_source(source) {}

private:
    enum class Table { none, vocabulary, scoredPieces, scoredPiece, merges, mergePair };

    void value(json it) override {
        switch (m_table) {
        case Table::none:
            return StrictJsonReader::value(std::move(it));
        case Table::vocabulary:
            return addPiece(it);
        case Table::scoredPieces:
            failScoredPiece();
        case Table::merges:
            return addMerge(it);
        case Table::scoredPiece:
        case Table::mergePair:
            return addPairItem(std::move(it));
        }
    }

    void open(json container) override {
        if (isModelMember("vocab") && container.is_object())
            return enterVocabulary(Table::vocabulary, VocabularyForm::table);
        if (isModelMember("vocab") && container.is_array())
            return enterVocabulary(Table::scoredPieces, VocabularyForm::list);
        if (isModelMember("merges") && container.is_array())
            return enter(Table::merges);
        if ((m_table == Table::merges || m_table == Table::scoredPieces) && container.is_array()) {
            m_pair.clear();
            m_table = m_table == Table::merges ? Table::mergePair : Table::scoredPiece;
            return;
        }
        if (m_table != Table::none)
            return value(std::move(container)); // which no table has
        if (depth() == 1)
            m_outerKey = nextKey();
        StrictJsonReader::open(std::move(container));
    }

    void close() override {
        switch (m_table) {
        case Table::none:
            return StrictJsonReader::close();
        case Table::mergePair:
            addMergePair();
            m_table = Table::merges;
            return;
        case Table::scoredPiece:
            addScoredPiece();
            m_table = Table::scoredPieces;
            return;
        default:
            m_table = Table::none;
        }
    }

    bool isModelMember(std::string_view name) const {
        return m_table == Table::none && depth() == 2 && m_outerKey == "model" && nextKey() == name;
    }

    void enter(Table table) {
        StrictJsonReader::value(nullptr); // in its place in the tree
        m_table = table;
    }

    void enterVocabulary(Table table, VocabularyForm form) {
        m_document.form = form;
        enter(table);
    }

    void addPiece(const json& id) {
        if (!id.is_number_unsigned())
            failDocument(m_source, "model.vocab", "gives no id for " + inQuotes(nextKey()));
        const auto number = id.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(Vocabulary::maximumId))
            failDocument(m_source, "model.vocab", "has an id out of range, " + std::to_string(number));
        if (!m_document.vocabulary.add(nextKey(), static_cast<int>(number)))
            failDocument(m_source, "model.vocab", "has the piece " + inQuotes(nextKey()) + " or its id twice");
    }

    void addScoredPiece() {
        const std::size_t id = m_document.scores.size();
        if (m_pair.size() != 2 || !m_pair[0].is_string() || !m_pair[1].is_number())
            failScoredPiece();
        if (id > static_cast<std::size_t>(Vocabulary::maximumId))
            failDocument(m_source, "model.vocab", "has more pieces than any vocabulary");
        const double score = m_pair[1].get<double>();
        if (std::abs(score) > largestScore)
            failDocument(m_source, "model.vocab", "has a score out of range for " + inQuotes(pairText(0)));
        m_document.vocabulary.addLater(pairText(0), static_cast<int>(id));
        m_document.scores.push_back(score);
    }

    void addMerge(json& it) {
        if (!it.is_string())
            failMerge();
        auto& text = it.get_ref<std::string&>();
        const std::size_t gap = text.find(' ');
        if (gap == std::string::npos || text.find(' ', gap + 1) != std::string::npos)
            failMerge();
        text.erase(gap, 1);
        m_document.merges.push_back({std::move(text), gap});
    }

    void addMergePair() {
        if (m_pair.size() != 2 || !m_pair[0].is_string() || !m_pair[1].is_string())
            failMerge();
        m_document.merges.push_back({pairText(0) + pairText(1), pairText(0).size()});
    }

    void addPairItem(json it) {
        if (it.is_structured() || m_pair.size() == 2)
            m_table == Table::mergePair ? failMerge() : failScoredPiece();
        m_pair.push_back(std::move(it));
    }

    const std::string& pairText(std::size_t item) const { return m_pair[item].get_ref<const std::string&>(); }

    [[noreturn]] void failScoredPiece() const {
        failDocument(m_source, "model.vocab[" + std::to_string(m_document.scores.size()) + "]",
                     "is no piece with its score");
    }

    [[noreturn]] void failMerge() const {
        failDocument(m_source, "model.merges[" + std::to_string(m_document.merges.size()) + "]", "is no pair");
    }

    TokenizerDocument& m_document;
    const std::string& m_source;
    std::string m_outerKey; // of the member of the document that is read
    Table m_table = Table::none;
    std::vector<json> m_pair; // of a merge, or of a piece and its score
};

} // namespace

TokenizerDocument readTokenizerDocument(std::string_view text, const std::string& source) {
    TokenizerDocument document;
    try {
        document.settings = DocumentReader(document, source).read(text);
    } catch (const JsonFault& fault) {
        failDocument(source, "", fault.what());
    }
    return document;
}

} // namespace fenlo::hub
