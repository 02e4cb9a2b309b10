#include "hub/tokenizers/TokenizerDocument.h"

#include "hub/tokenizers/JsonNode.h"

#include <cstdint>
#include <utility>

namespace fenlo::hub {

namespace {

using nlohmann::json;

constexpr std::size_t maximumDepth = 64;

/// Takes the events of the parser.
class DocumentReader {
public:
    DocumentReader(TokenizerDocument& document, const std::string& source) : m_document(document), m_source(source) {}

    bool null() { return value(nullptr); }
    bool boolean(bool it) { return value(it); }
    bool number_integer(std::int64_t it) { return value(it); }
    bool number_unsigned(std::uint64_t it) { return m_table == Table::vocabulary ? piece(it) : value(it); }
    bool number_float(double it, const std::string&) { return value(it); }
    bool binary(json::binary_t&) { return false; } // JSON text has none

    bool string(std::string& it) {
        if (m_table == Table::mergePair)
            return pairItem(std::move(it));
        return m_table == Table::merges ? merge(it) : value(std::move(it));
    }

    bool key(std::string& it) {
        m_key = std::move(it);
        return true;
    }

    bool start_object(std::size_t) {
        if (isModelMember("vocab"))
            return enter(Table::vocabulary);
        return open(json::object());
    }
    bool start_array(std::size_t) {
        if (m_table == Table::merges) {
            m_pair.clear();
            return enter(Table::mergePair);
        }
        if (isModelMember("merges"))
            return enter(Table::merges);
        return open(json::array());
    }
    bool end_object() { return close(); }
    bool end_array() { return close(); }

    bool parse_error(std::size_t position, const std::string&, const json::exception&) {
        failDocument(m_source, "", "is not valid JSON at byte " + std::to_string(position));
    }

private:
    enum class Table { none, vocabulary, merges, mergePair };

    bool isModelMember(std::string_view name) const {
        return m_table == Table::none && m_open.size() == 2 && m_open.back()->is_object() && m_outerKey == "model" &&
               m_key == name;
    }

    bool enter(Table table) {
        const bool isRepeated = table != Table::mergePair && !m_open.back()->emplace(m_key, nullptr).second;
        if (isRepeated)
            failDocument(m_source, "model." + m_key, "is there twice");
        m_table = table;
        return true;
    }

    bool open(json container) {
        if (m_open.size() == maximumDepth)
            failDocument(m_source, "", "is nested too deeply");
        if (m_open.size() == 1)
            m_outerKey = m_key;
        m_open.push_back(place(std::move(container)));
        return true;
    }

    bool close() {
        switch (m_table) {
        case Table::none:
            m_open.pop_back();
            break;
        case Table::mergePair:
            if (m_pair.size() != 2)
                failMerge();
            m_document.merges.push_back({m_pair[0] + m_pair[1], m_pair[0].size()});
            m_table = Table::merges;
            break;
        default:
            m_table = Table::none;
        }
        return true;
    }

    bool value(json it) {
        place(std::move(it));
        return true;
    }

    json* place(json it) {
        if (m_table == Table::vocabulary)
            failDocument(m_source, "model.vocab", "gives no id for " + inQuotes(m_key));
        if (m_table != Table::none)
            failMerge();
        if (m_open.empty())
            return &(m_document.settings = std::move(it));
        json& parent = *m_open.back();
        if (parent.is_array())
            return &parent.emplace_back(std::move(it));
        const auto [member, isNew] = parent.emplace(m_key, std::move(it));
        if (!isNew)
            failDocument(m_source, "", "has " + inQuotes(m_key) + " twice in one place");
        return &*member;
    }

    bool piece(std::uint64_t id) {
        if (id > static_cast<std::uint64_t>(Vocabulary::maximumId))
            failDocument(m_source, "model.vocab", "has an id out of range, " + std::to_string(id));
        if (!m_document.vocabulary.add(m_key, static_cast<int>(id)))
            failDocument(m_source, "model.vocab", "has the piece " + inQuotes(m_key) + " or its id twice");
        return true;
    }

    bool merge(std::string& it) {
        const std::size_t gap = it.find(' ');
        if (gap == std::string::npos || it.find(' ', gap + 1) != std::string::npos)
            failMerge();
        it.erase(gap, 1);
        m_document.merges.push_back({std::move(it), gap});
        return true;
    }

    bool pairItem(std::string it) {
        if (m_pair.size() == 2)
            failMerge();
        m_pair.push_back(std::move(it));
        return true;
    }

    [[noreturn]] void failMerge() const {
        failDocument(m_source, "model.merges[" + std::to_string(m_document.merges.size()) + "]", "is no pair");
    }

    TokenizerDocument& m_document;
    const std::string& m_source;
    std::vector<json*> m_open; // the containers around the place that is read, the innermost last
    std::string m_key;
    std::string m_outerKey; // the key of the outermost object that is open
    Table m_table = Table::none;
    std::vector<std::string> m_pair;
};

} // namespace

TokenizerDocument readTokenizerDocument(std::string_view text, const std::string& source) {
    TokenizerDocument document;
    DocumentReader reader(document, source);
    json::sax_parse(text, &reader);
    return document;
}

} // namespace fenlo::hub
