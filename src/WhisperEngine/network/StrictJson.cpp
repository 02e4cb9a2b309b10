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
            throw ModelDamage(name + " is nested too deeply");
        if (event == json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            throw ModelDamage(name + " has a key twice");
        return true;
    };
    try {
        json document = json::parse(text.begin(), text.end(), watch);
        if (document.is_object())
            return document;
        throw ModelDamage(name + " is not a JSON object");
    } catch (const json::parse_error& error) {
        throw ModelDamage(name + " is not valid JSON at byte " + std::to_string(error.byte));
    } catch (const json::exception&) { // a number out of range
        throw ModelDamage(name + " is not valid JSON");
    }
}

json readStrictJson(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (!error && size > longestFile)
        throw ModelDamage(file.string() + " is too long");
    const auto text = files::read(file);
    if (!text)
        throw ModelDamage("Model file not found at " + file.string(), "");
    return parseStrictJson(*text, file.string());
}

} // namespace fenlo::whisper
