#include "audio/voice/VoiceProfile.h"
#include "base/Files.h"
#include "base/Json.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

using nlohmann::json;

bool take(const json& value, std::string& field) {
    if (!value.is_string())
        return false;
    field = value.get<std::string>();
    return true;
}

bool take(const json& value, double& field) {
    if (!value.is_number())
        return false;
    field = value.get<double>();
    return true;
}

bool take(const json& value, float& field) {
    double number = 0;
    if (!take(value, number) || std::abs(number) > std::numeric_limits<float>::max())
        return false;
    field = static_cast<float>(number);
    return true;
}

bool take(const json& value, std::optional<voice::Mfcc>& field) {
    voice::Mfcc vector{};
    if (!value.is_array() || value.size() != vector.size())
        return false;
    for (std::size_t i = 0; i < vector.size(); ++i)
        if (!take(value[i], vector[i]))
            return false;
    field = vector;
    return true;
}

} // namespace

std::filesystem::path voiceProfileFile() {
    return files::dataDirectory() / "voice_profile.json";
}

std::string encodeVoiceProfile(const VoiceProfileData& profile) {
    nlohmann::ordered_json object{{"gender", profile.gender},
                                  {"genderConfidence", profile.genderConfidence},
                                  {"pitchMedian", profile.pitchMedian},
                                  {"pitchP10", profile.pitchP10},
                                  {"pitchP90", profile.pitchP90},
                                  {"energyMedian", profile.energyMedian},
                                  {"energyP25", profile.energyP25},
                                  {"energyP75", profile.energyP75},
                                  {"centroidMedian", profile.centroidMedian},
                                  {"centroidStd", profile.centroidStd},
                                  {"accent", profile.accent}};
    if (profile.mfccMean)
        object["mfccMean"] = *profile.mfccMean;
    return writeJson(object);
}

std::optional<VoiceProfileData> decodeVoiceProfile(std::string_view text) {
    const json object = parseJson(text);
    if (!object.is_object())
        return {};
    const auto takeKey = [&object](const char* key, auto& field) {
        const auto found = object.find(key);
        return found != object.end() && take(*found, field);
    };
    const auto isAbsent = [&object](const char* key) {
        const auto found = object.find(key);
        return found == object.end() || found->is_null();
    };
    VoiceProfileData profile;
    const bool complete = takeKey("gender", profile.gender) && takeKey("genderConfidence", profile.genderConfidence) &&
                          takeKey("pitchMedian", profile.pitchMedian) && takeKey("pitchP10", profile.pitchP10) &&
                          takeKey("pitchP90", profile.pitchP90) && takeKey("energyMedian", profile.energyMedian) &&
                          takeKey("energyP25", profile.energyP25) && takeKey("energyP75", profile.energyP75) &&
                          takeKey("centroidMedian", profile.centroidMedian) &&
                          takeKey("centroidStd", profile.centroidStd) && takeKey("accent", profile.accent) &&
                          (isAbsent("mfccMean") || takeKey("mfccMean", profile.mfccMean));
    return complete ? std::optional(profile) : std::nullopt;
}

std::optional<VoiceProfileData> loadVoiceProfile(const std::filesystem::path& file) {
    const auto content = files::read(file);
    return content ? decodeVoiceProfile(*content) : std::nullopt;
}

bool storeVoiceProfile(const VoiceProfileData& profile, const std::filesystem::path& file) {
    return files::makePrivateDirectory(file.parent_path()) && files::writeAtomically(file, encodeVoiceProfile(profile));
}

} // namespace fenlo
