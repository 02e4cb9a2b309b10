#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

class SecureStore;
struct ServiceKey;

/// The keys that the user has put somewhere, as commands and screens see and change them.
///
/// Threads: workers, except for keyInEnvironment() and checkedKey(): the others block for as long as the store does.

enum class KeyPlace { environment, keyring, nowhere, keyringSilent };

KeyPlace placeOf(const ServiceKey& key, SecureStore& store);

/// Empty when the environment has none.
std::string keyInEnvironment(const ServiceKey& key);
/// The key that counts: that of the environment, or else of the store. Empty for none.
std::string usersKey(const ServiceKey& key, SecureStore& store);

/// What was typed, without blanks around it. Nothing when it cannot be a key.
std::optional<std::string> checkedKey(std::string_view typed);

/// Both return what went wrong in one line for the user, or nothing. A key that the keyring did not take may still
/// count until the program ends, as usersKey() then shows.
std::optional<std::string> storeKey(const ServiceKey& key, const std::string& value, SecureStore& store);
std::optional<std::string> removeKey(const ServiceKey& key, SecureStore& store);

} // namespace fenlo
