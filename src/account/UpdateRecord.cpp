#include "account/UpdateRecord.h"

#include "account/ReplyFields.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"

#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

constexpr std::chrono::hours betweenChecks{24};

constexpr char skippedKey[] = "skipped_version";
constexpr char verifiedKey[] = "newest_verified_version";
constexpr char checkKey[] = "last_check";

std::string textAt(const nlohmann::json& values, const char* key) {
    return replyFields::stringAt(values, key).value_or("");
}

} // namespace

UpdateRecord UpdateRecord::load(const std::filesystem::path& file) {
    const auto values = parseJson(files::read(file).value_or(""));
    return {ReleaseVersion::parse(textAt(values, skippedKey)), ReleaseVersion::parse(textAt(values, verifiedKey)),
            dates::parseIso(textAt(values, checkKey))};
}

void UpdateRecord::save(const std::filesystem::path& file) const {
    nlohmann::json values = nlohmann::json::object();
    if (skipped)
        values[skippedKey] = skipped->text();
    if (newestVerified)
        values[verifiedKey] = newestVerified->text();
    if (lastCheck)
        values[checkKey] = dates::isoTimestamp(*lastCheck);
    files::makePrivateDirectory(file.parent_path());
    files::writeAtomically(file, writeJson(values, 2) + "\n");
}

bool UpdateRecord::isDue(std::chrono::system_clock::time_point now) const {
    return !lastCheck || now < *lastCheck || now - *lastCheck >= betweenChecks;
}

} // namespace fenlo
