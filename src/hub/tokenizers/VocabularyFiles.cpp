#include "hub/tokenizers/VocabularyFiles.h"

#include "base/StrictJson.h"
#include "base/Text.h"
#include "hub/tokenizers/JsonNode.h"

#include <cstdint>
#include <utility>

namespace fenlo::hub {

namespace {

using nlohmann::json;

/// Takes each piece as it is read.
class VocabularyReader final : public StrictJsonReader {
public:
    VocabularyReader(Vocabulary& vocabulary, const std::string& source) : m_vocabulary(vocabulary), m_source(source) {}

private:
    void value(json id) override {
        if (depth() == 0)
            failDocument(m_source, "", "is no object");
        if (!id.is_number_unsigned())
            failDocument(m_source, "", "gives no id for " + inQuotes(nextKey()));
        const auto number = id.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(Vocabulary::maximumId))
            failDocument(m_source, "", "has an id out of range, " + std::to_string(number));
        if (!m_vocabulary.add(nextKey(), static_cast<int>(number)))
            failDocument(m_source, "", "has the piece " + inQuotes(nextKey()) + " or its id twice");
    }

    void open(json container) override {
        if (depth() > 0 || !container.is_object())
            return value(std::move(container)); // which is no id
        StrictJsonReader::open(std::move(container));
    }

    Vocabulary& m_vocabulary;
    const std::string& m_source;
};

/// Calls `use(line)` for each line, which ends in a line feed, perhaps after a carriage return. Nothing after the last
/// one is no line.
template <typename Use>
void forEachLine(std::string_view text, const std::string& source, Use use) {
    int number = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        const std::string place = "line " + std::to_string(++number);
        if (text::repairUtf8(line) != line)
            failDocument(source, place, "is no valid UTF-8");
        use(line, place);
    }
}

} // namespace

Vocabulary readVocabularyJson(std::string_view text, const std::string& source) {
    Vocabulary vocabulary;
    try {
        VocabularyReader(vocabulary, source).read(text);
    } catch (const JsonFault& fault) {
        failDocument(source, "", fault.what());
    }
    return vocabulary;
}

Vocabulary readVocabularyText(std::string_view text, const std::string& source) {
    Vocabulary vocabulary;
    int id = 0;
    forEachLine(text, source, [&](std::string_view piece, const std::string&) {
        if (id > Vocabulary::maximumId)
            failDocument(source, "", "has more pieces than any vocabulary");
        if (!piece.empty())
            vocabulary.addLater(piece, id);
        ++id;
    });
    return vocabulary;
}

std::vector<MergeText> readMergesText(std::string_view text, const std::string& source) {
    std::vector<MergeText> merges;
    forEachLine(text, source, [&](std::string_view line, const std::string& place) {
        if (line.empty() || line.starts_with("#version"))
            return;
        const std::size_t gap = line.find(' ');
        if (gap == std::string_view::npos || line.find(' ', gap + 1) != std::string_view::npos)
            failDocument(source, place, "is no pair of pieces");
        merges.push_back({std::string(line.substr(0, gap)).append(line.substr(gap + 1)), gap});
    });
    return merges;
}

} // namespace fenlo::hub
