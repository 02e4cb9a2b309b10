#include "account/UpdateFeed.h"

#include "base/Text.h"

#include <charconv>
#include <expat.h>
#include <memory>

namespace fenlo {

namespace {

constexpr std::size_t deepestElement = 8; // releases are at 3, their parts at 4
constexpr std::size_t mostReleases = 200;
constexpr std::size_t mostFiles = 50;        // of a release
constexpr std::size_t longestNotes = 20'000; // characters
constexpr std::size_t longestValue = 2'000;  // bytes, of anything else

// Expat gives a name with its namespace before it, and this between them.
constexpr char separator = ' ';
constexpr std::string_view appcastSpace = "http://www.andymatuschak.org/xml-namespaces/sparkle ";

/// Takes what the parser finds.
class FeedReader {
public:
    explicit FeedReader(XML_Parser parser) : m_parser(parser) {}

    std::vector<FeedItem> items;
    bool isAppcast = false;

    void begin(std::string_view name, const char** attributes) {
        if (m_path.size() == deepestElement || (m_path.empty() && name != "rss"))
            return refuse();
        m_path.emplace_back(name);
        m_text.clear();
        if (isAt("channel", 2))
            isAppcast = true;
        if (isAt("item", 3)) {
            if (items.size() == mostReleases)
                return refuse();
            items.emplace_back();
        }
        if (isAt("enclosure", 4))
            takeEnclosure(attributes);
    }

    void end() {
        if (m_isRefused) // the parser still tells the end of an empty element
            return;
        if (isAt("description", 4))
            items.back().notes =
                text::firstCharacters(text::trimWhitespaceAndNewlines(text::withoutControls(m_text)), longestNotes);
        else if (isAt(named("version"), 4))
            items.back().version = text::trimWhitespaceAndNewlines(m_text);
        else if (isAt(named("channel"), 4))
            items.back().channel = text::trimWhitespaceAndNewlines(m_text);
        m_path.pop_back();
        m_text.clear();
    }

    void add(std::string_view piece) {
        if (isInItem() && (isAt("description", 4) || m_text.size() < longestValue))
            m_text += piece;
    }

    void refuse() {
        m_isRefused = true;
        XML_StopParser(m_parser, XML_FALSE);
    }

private:
    static std::string named(std::string_view name) { return std::string(appcastSpace) + std::string(name); }

    bool isInItem() const { return m_path.size() >= 3 && m_path[1] == "channel" && m_path[2] == "item"; }
    /// Whether this is the element that the parser is in: a channel, an item of it, or a part of an item.
    bool isAt(std::string_view name, std::size_t depth) const {
        return m_path.size() == depth && m_path.back() == name && (depth == 2 || m_path[1] == "channel") &&
               (depth < 4 || isInItem());
    }

    void takeEnclosure(const char** attributes) {
        FeedItem& item = items.back();
        if (item.enclosures.size() == mostFiles)
            return refuse();
        FeedEnclosure file;
        for (; *attributes; attributes += 2) {
            const std::string_view name = attributes[0];
            const std::string_view value = attributes[1];
            if (value.size() > longestValue)
                return refuse();
            if (name == "url")
                file.url = value;
            else if (name == "length")
                file.length = lengthOf(value);
            else if (name == named("os"))
                file.system = value;
            else if (name == named("edSignature"))
                file.signature = value;
            else if (name == named("version") && item.version.empty())
                item.version = value;
        }
        item.enclosures.push_back(std::move(file));
    }

    /// 0 for what is no number.
    static std::uint64_t lengthOf(std::string_view digits) {
        std::uint64_t length = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
        return error == std::errc() && end == digits.data() + digits.size() ? length : 0;
    }

    const XML_Parser m_parser;
    std::vector<std::string> m_path; // the elements that the parser is in
    std::string m_text;              // of the innermost one
    bool m_isRefused = false;
};

FeedReader& readerOf(void* given) {
    return *static_cast<FeedReader*>(given);
}

} // namespace

std::optional<std::vector<FeedItem>> parseFeed(std::string_view xml) {
    if (xml.size() > longestFeed)
        return std::nullopt;
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreateNS(nullptr, separator),
                                                                              &XML_ParserFree);
    if (!parser)
        return std::nullopt;
    FeedReader reader(parser.get());
    XML_SetUserData(parser.get(), &reader);
    XML_SetElementHandler(
        parser.get(),
        [](void* given, const char* name, const char** attributes) { readerOf(given).begin(name, attributes); },
        [](void* given, const char*) { readerOf(given).end(); });
    XML_SetCharacterDataHandler(parser.get(), [](void* given, const char* text, int size) {
        readerOf(given).add({text, std::size_t(size)});
    });
    // Entities can only be defined in a document type.
    XML_SetStartDoctypeDeclHandler(
        parser.get(), [](void* given, const char*, const char*, const char*, int) { readerOf(given).refuse(); });
    const bool isWhole = XML_Parse(parser.get(), xml.data(), int(xml.size()), XML_TRUE) == XML_STATUS_OK;
    return isWhole && reader.isAppcast ? std::optional(std::move(reader.items)) : std::nullopt;
}

} // namespace fenlo
