#include "settings/Keychain.h"

#include "base/Log.h"
#include "base/Text.h"

namespace fenlo {

void Keychain::save(const std::string& name, const std::string& value) {
    if (const auto error = m_store.save(name, value))
        logError("Keychain save failed for '{}': {}", name, *error);
}

std::optional<std::string> Keychain::load(const std::string& name) {
    const SecureStore::Value value = m_store.load(name);
    if (value.status != SecureStore::Status::ok || text::repairUtf8(value.text) != value.text)
        return {};
    return value.text;
}

bool Keychain::remove(const std::string& name) {
    const auto error = m_store.remove(name);
    if (error)
        logError("Keychain removal failed for '{}': {}", name, *error);
    return !error;
}

bool Keychain::answers() {
    return m_store.load("google_refresh_token").status != SecureStore::Status::unavailable;
}

} // namespace fenlo
