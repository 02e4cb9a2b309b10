#include "WhisperEngine/network/StrictJson.h"

#include "WhisperEngine/network/ModelFault.h"
#include "base/Files.h"

#include <set>
#include <vector>

namespace fenlo::whisper {

using nlohmann::json;

namespace {

constexpr int deepest = 16;
constexpr std::uintmax_t longestFile = 16 << 20; // bytes; an index of shards has some hundred thousand

} // namespace

json parseStrictJson(std::string_view text, const std::string& name) {
    std::vector<std::set<std::string>> keys; // of each object that is open
    const auto watch = [&](int depth, json::parse_event_t event, json& parsed) {
        if (depth > deepest)
            throw modelFault(name + " is nested too deeply. Download the model again.");
        if (event == json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            throw modelFault(name + " has a key twice. Download the model again.");
        return true;
    };
    try {
        json document = json::parse(text.begin(), text.end(), watch);
        if (document.is_object())
            return document;
        throw modelFault(name + " is not a JSON object. Download the model again.");
    } catch (const json::parse_error& error) {
        throw modelFault(name + " is not valid JSON at byte " + std::to_string(error.byte) +
                         ". Download the model again.");
    } catch (const json::exception&) { // a number out of range
        throw modelFault(name + " is not valid JSON. Download the model again.");
    }
}

json readStrictJson(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (!error && size > longestFile)
        throw modelFault(file.string() + " is too long. Download the model again.");
    const auto text = files::read(file);
    if (!text)
        throw modelFault("Model file not found at " + file.string());
    return parseStrictJson(*text, file.string());
}

} // namespace fenlo::whisper
