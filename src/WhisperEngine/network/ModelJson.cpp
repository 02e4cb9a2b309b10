#include "WhisperEngine/network/ModelJson.h"

#include "WhisperEngine/network/ModelFault.h"
#include "base/Files.h"
#include "base/StrictJson.h"

namespace fenlo::whisper {

using nlohmann::json;

namespace {

constexpr std::uintmax_t longestFile = 16 << 20; // bytes; an index of shards has some hundred thousand

} // namespace

json parseModelJson(std::string_view text, const std::string& name) {
    try {
        json document = StrictJsonReader().read(text);
        if (document.is_object())
            return document;
    } catch (const JsonFault& fault) {
        throw ModelDamage(name + " " + fault.what());
    }
    throw ModelDamage(name + " is not a JSON object");
}

json readModelJson(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (!error && size > longestFile)
        throw ModelDamage(file.string() + " is too long");
    const auto text = files::read(file);
    if (!text)
        throw ModelDamage("Model file not found at " + file.string(), "");
    return parseModelJson(*text, file.string());
}

} // namespace fenlo::whisper
