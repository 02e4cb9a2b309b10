#include "shell/StatisticsFile.h"

#include "base/Files.h"
#include "base/Json.h"
#include "shell/JsonMembers.h"

#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

namespace fenlo {

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

// Lines as save() writes them. They cannot occur within an entry, because JSON strings hold no newline.
constexpr std::string_view historyStart = "  \"history\": [";
constexpr std::string_view historyEnd = "\n  ]\n}\n";
constexpr std::size_t longestHead = 1 << 20; // decades of days
constexpr char deletedMember[] = "deleted";

/// On-demand parsing skips values that nobody asks for; this checks every byte.
bool isValid(const simdjson::padded_string& text) {
    simdjson::dom::parser parser;
    return parser.parse(text).error() == simdjson::SUCCESS;
}

/// The part before the history as a JSON object; nothing unless the file begins and ends as save() writes it.
std::optional<std::string> readHead(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string end(historyEnd.size(), '\0');
    if (!stream.seekg(-std::ssize(end), std::ios::end).read(end.data(), std::ssize(end)) || end != historyEnd)
        return {};
    stream.seekg(0);
    std::string head;
    for (std::string line; head.size() < longestHead && std::getline(stream, line); head += line)
        if (line == historyStart)
            return head.substr(0, head.rfind(',')) + "}";
    return {};
}

Json parseSmall(std::string_view text) {
    return parseJson(text);
}

bool takeElements(simdjson::ondemand::value value, std::vector<std::string_view>& elements) {
    simdjson::ondemand::array array;
    if (value.get_array().get(array))
        return false;
    for (auto element : array) {
        simdjson::ondemand::value item;
        if (element.get(item))
            return false;
        elements.push_back(textOf(item));
    }
    return true;
}

void takeTexts(const Json& list, std::set<std::string>& texts) {
    for (const Json& text : list)
        if (text.is_string())
            texts.insert(text.get<std::string>());
}

template <typename Pieces, typename Append>
void appendList(std::string& out, char open, const Pieces& pieces, char close, Append append) {
    out += open;
    const char* separator = "\n    ";
    for (const auto& piece : pieces) {
        out += separator;
        append(piece);
        separator = ",\n    ";
    }
    out += pieces.empty() ? "" : "\n  ";
    out += close;
}

} // namespace

std::int64_t toCount(const Json& value) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(most))
        return most;
    return value.is_number_integer() ? value.get<std::int64_t>() : 0;
}

double toNumber(const Json& value) {
    return value.is_number() ? value.get<double>() : 0;
}

const Json& memberOf(const Json& object, const char* key) {
    static const Json none;
    const auto found = object.find(key);
    return found == object.end() ? none : *found;
}

StatisticsFile::StatisticsFile() = default;
StatisticsFile::StatisticsFile(StatisticsFile&&) noexcept = default;
StatisticsFile& StatisticsFile::operator=(StatisticsFile&&) noexcept = default;
StatisticsFile::~StatisticsFile() = default;

StatisticsFile StatisticsFile::load(const fs::path& path) {
    StatisticsFile file;
    file.m_text = std::make_unique<simdjson::padded_string>();
    std::error_code ignored;
    if (simdjson::padded_string::load(path.native()).get(*file.m_text))
        file.m_isDamaged = fs::exists(path, ignored); // a file that cannot be read is not overwritten either
    else if (!isValid(*file.m_text) || !file.takeApart()) {
        file = StatisticsFile();
        file.m_isDamaged = true;
    }
    return file;
}

StatisticsFile StatisticsFile::loadCounters(const fs::path& path) {
    if (const auto head = readHead(path)) {
        StatisticsFile file;
        file.m_text = std::make_unique<simdjson::padded_string>(*head);
        if (isValid(*file.m_text) && file.takeApart())
            return file;
    }
    return load(path);
}

bool StatisticsFile::takeApart() {
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document;
    if (parser.iterate(*m_text).get(document))
        return false;
    return forEachMember(document, [&](const std::string& key, simdjson::ondemand::value value) {
        // A value of another type would be lost, so the file counts as damaged then.
        if (key == "history") {
            m_isDamaged |= !takeElements(value, history);
            return true;
        }
        if (key == "daily") {
            m_isDamaged |= !forEachMember(value, [&](const std::string& date, simdjson::ondemand::value day) {
                days.push_back({date, textOf(day)});
                return true;
            });
            return true;
        }
        const std::string_view text = textOf(value);
        if (key == "total_words")
            totalWords = toCount(parseSmall(text));
        else if (key == "total_sessions")
            totalSessions = toCount(parseSmall(text));
        else if (key == "total_duration_secs")
            totalDuration = toNumber(parseSmall(text));
        else if (key == deletedMember)
            takeTexts(parseSmall(text), deleted);
        else
            m_unknown.push_back({key, text});
        return true;
    });
}

std::string_view StatisticsFile::keep(std::string text) {
    return m_kept.emplace_back(std::move(text));
}

std::string StatisticsFile::compose() const {
    std::string out;
    std::size_t size = 4096 + 256 * days.size();
    for (const std::string_view entry : history)
        size += entry.size() + 8;
    out.reserve(size);
    const auto appendMember = [&](const std::string& key, std::string_view text) {
        out += writeJson(Json(key));
        out += ": ";
        out += text;
    };

    // The counters come first, because people open the file.
    out += "{\n  ";
    appendMember("total_words", writeJson(Json(totalWords)));
    out += ",\n  ";
    appendMember("total_sessions", writeJson(Json(totalSessions)));
    out += ",\n  ";
    appendMember("total_duration_secs", writeJson(Json(totalDuration)));
    out += ",\n  \"daily\": ";
    appendList(out, '{', days, '}', [&](const Day& day) { appendMember(day.date, day.text); });
    if (!deleted.empty()) {
        out += ",\n  ";
        appendMember(deletedMember, writeJson(Json(deleted)));
    }
    for (const Member& member : m_unknown) {
        out += ",\n  ";
        appendMember(member.key, member.text);
    }
    out += ",\n  \"history\": ";
    appendList(out, '[', history, ']', [&](std::string_view entry) { out += entry; });
    out += "\n}\n";
    return out;
}

bool StatisticsFile::save(const fs::path& path, std::chrono::system_clock::time_point now) const {
    if (!files::makePrivateDirectory(path.parent_path()))
        return false;
    std::error_code ignored;
    if (m_isDamaged) {
        files::setAside(path, now);
        if (fs::exists(path, ignored))
            return false;
    }
    return files::writeAtomically(path, compose());
}

} // namespace fenlo
