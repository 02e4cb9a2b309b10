#include "hub/tokenizers/TokenizerFile.h"

#include "base/Files.h"
#include "base/StrictJson.h"
#include "hub/tokenizers/JsonNode.h"

#include <cstdint>
#include <optional>
#include <system_error>

namespace fenlo::hub {

namespace {

constexpr std::uintmax_t maximumFileSize = 128UL << 20U; // bytes

} // namespace

std::string readTokenizerFile(const std::filesystem::path& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (!error && size > maximumFileSize)
        failDocument(file.string(), "", "is larger than any tokenizer, " + std::to_string(size) + " bytes");
    std::optional<std::string> content = error ? std::nullopt : files::read(file);
    if (!content)
        failDocument(file.string(), "", "cannot be read");
    return std::move(*content);
}

nlohmann::json parseTokenizerFile(std::string_view json, const std::string& source) {
    try {
        nlohmann::json value = StrictJsonReader().read(json);
        if (!value.is_object())
            failDocument(source, "", "is no object");
        return value;
    } catch (const JsonFault& fault) {
        failDocument(source, "", fault.what());
    }
}

} // namespace fenlo::hub
