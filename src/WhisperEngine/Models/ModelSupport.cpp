#include "WhisperEngine/Models/ModelSupport.h"

#include "WhisperEngine/WhisperError.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sys/utsname.h>

namespace fenlo::whisper {

namespace {

bool holds(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> less(const std::vector<std::string>& all, const std::vector<std::string>& without) {
    std::vector<std::string> rest;
    for (const std::string& name : all)
        if (!holds(without, name))
            rest.push_back(name);
    return rest;
}

DeviceSupport rowOf(const nlohmann::json& json) {
    const nlohmann::json& models = json.at("models");
    return {json.value("chips", ""),
            json.at("identifiers").get<std::vector<std::string>>(),
            {models.at("default").get<std::string>(), models.at("supported").get<std::vector<std::string>>(), {}}};
}

} // namespace

ModelSupportConfig ModelSupportConfig::of(std::string repoName, std::string repoVersion,
                                          std::vector<DeviceSupport> rows) {
    ModelSupportConfig config{std::move(repoName), std::move(repoVersion), std::move(rows), {}, {}};
    for (const DeviceSupport& row : config.deviceSupports)
        for (const std::string& name : row.models.supported)
            if (!holds(config.knownModels, name))
                config.knownModels.push_back(name);
    for (DeviceSupport& row : config.deviceSupports)
        row.models.disabled = less(config.knownModels, row.models.supported);
    config.defaultSupport = {"openai_whisper-base", config.knownModels, {}};
    return config;
}

ModelSupportConfig ModelSupportConfig::parse(std::string_view json) {
    try {
        const auto root = parseJsonOrThrow(json);
        std::vector<DeviceSupport> rows;
        for (const auto& row : root.at("device_support"))
            rows.push_back(rowOf(row));
        return of(root.at("name").get<std::string>(), root.at("version").get<std::string>(), std::move(rows));
    } catch (const nlohmann::json::exception& error) {
        throw WhisperError(WhisperError::Kind::modelsUnavailable,
                           std::string("the list of supported models cannot be read: ") + error.what());
    }
}

std::string ModelSupportConfig::toJson() const {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const DeviceSupport& row : deviceSupports)
        rows.push_back({{"chips", row.chips},
                        {"identifiers", row.identifiers},
                        {"models", {{"default", row.models.defaultModel}, {"supported", row.models.supported}}}});
    const nlohmann::ordered_json root{{"name", repoName}, {"version", repoVersion}, {"device_support", rows}};
    return writeJson(root, 2);
}

const ModelSupport& ModelSupportConfig::supportFor(const std::string& identifier, const Logging& log) const {
    for (const DeviceSupport& row : deviceSupports)
        for (const std::string& prefix : row.identifiers)
            if (identifier.starts_with(prefix))
                return row.models;
    log.info("No device support found for {}, using default", identifier);
    return defaultSupport;
}

std::string hardwareIdentifier(const std::filesystem::path& productName) {
    const std::string product =
        text::trimWhitespaceAndNewlines(text::repairUtf8(files::read(productName).value_or("")));
    if (!product.empty())
        return product;
    utsname machine{};
    return ::uname(&machine) == 0 ? machine.machine : "unknown";
}

} // namespace fenlo::whisper
