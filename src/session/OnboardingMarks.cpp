#include "session/OnboardingMarks.h"

#include "base/Files.h"
#include "base/Log.h"

namespace fenlo::OnboardingMarks {

namespace {

std::filesystem::path onboardedFile() {
    return files::dataDirectory() / ".onboarded";
}

std::filesystem::path withoutAccountFile() {
    return files::dataDirectory() / ".without_account";
}

bool isThere(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

bool make(const std::filesystem::path& file) {
    const bool isMade = files::makePrivateDirectory(files::dataDirectory()) && files::writeAtomically(file, "");
    if (!isMade)
        logError("Cannot write {}", file.string());
    return isMade;
}

} // namespace

bool isOnboarded() {
    return isThere(onboardedFile());
}

bool setOnboarded() {
    return make(onboardedFile());
}

bool isWithoutAccount() {
    return isThere(withoutAccountFile());
}

bool setWithoutAccount(bool isWithout) {
    if (isWithout)
        return make(withoutAccountFile());
    files::removeQuietly(withoutAccountFile());
    return !isThere(withoutAccountFile());
}

} // namespace fenlo::OnboardingMarks
