#include "settings/StoredKeys.h"

#include "base/Environment.h"
#include "platform/SecureStore.h"
#include "settings/ApiKey.h"
#include "settings/ServiceKeys.h"

#include <algorithm>

namespace fenlo {

KeyPlace placeOf(const ServiceKey& key, SecureStore& store) {
    if (!keyInEnvironment(key).empty())
        return KeyPlace::environment;
    switch (store.load(key.account).status) {
    case SecureStore::Status::ok:
        return KeyPlace::keyring;
    case SecureStore::Status::notFound:
        return KeyPlace::nowhere;
    case SecureStore::Status::unavailable:
        break;
    }
    return KeyPlace::keyringSilent;
}

std::string keyInEnvironment(const ServiceKey& key) {
    return apiKey::clean(environment(key.variable));
}

std::string usersKey(const ServiceKey& key, SecureStore& store) {
    const std::string own = keyInEnvironment(key);
    return own.empty() ? apiKey::clean(store.load(key.account).text) : own;
}

std::optional<std::string> checkedKey(std::string_view typed) {
    std::string key = apiKey::clean(typed);
    const bool isPlain = std::ranges::all_of(key, [](char c) { return c > ' ' && c <= '~'; });
    return key.empty() || !isPlain ? std::nullopt : std::optional(std::move(key));
}

std::optional<std::string> storeKey(const ServiceKey& key, const std::string& value, SecureStore& store) {
    if (const auto error = store.save(key.account, value))
        return "the keyring did not take the key: " + *error;
    return {};
}

std::optional<std::string> removeKey(const ServiceKey& key, SecureStore& store) {
    if (const auto error = store.remove(key.account))
        return std::string("the keyring did not remove the key of ") + key.name + ": " + *error;
    return {};
}

} // namespace fenlo
