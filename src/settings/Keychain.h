#pragma once

#include "platform/SecureStore.h"

#include <optional>
#include <string>

namespace fenlo {

/// The program's secrets by name, in the desktop's secure store and nowhere else. Names in use: "groq_api_key",
/// "gemini_api_key", "deepgram_api_key", "xai_api_key", "transcription_provider", "backend_token", "auth_provider",
/// "google_access_token", "google_refresh_token", "google_token_expiry", "google_user_email", "google_user_name".
///
/// Threads: worker threads only, as SecureStore.
/// Errors:  a failed save or removal is logged; a failed load gives nothing.
class Keychain {
public:
    explicit Keychain(SecureStore& store) : m_store(store) {}

    /// Replaces an item of that name. A store that cannot be reached is left as it is.
    void save(const std::string& name, const std::string& value);
    std::optional<std::string> load(const std::string& name);
    /// False when it is still there.
    bool remove(const std::string& name);
    /// Whether the store can be reached and is unlocked, so that what is not found is not there.
    bool answers();
    /// Lets a store that was refused ask for its password once more. On any thread.
    void askAgain() { m_store.askAgain(); }

private:
    SecureStore& m_store;
};

} // namespace fenlo
