#pragma once

#include <span>
#include <string>

namespace fenlo {

class SecureStore;

/// A cloud service that wants a key of the user's, and where the program looks for it.
struct KeyedService {
    const char* name;
    const char* variable; // in the environment
    const char* account;  // in the keyring
    const char* purpose;
    bool speechFromKeyring; // the recogniser looks into the keyring too
};

std::span<const KeyedService> keyedServices();

/// Throws std::runtime_error that names the services there are.
const KeyedService& keyedService(const std::string& name);

enum class KeyPlace { environment, keyring, nowhere, keyringSilent };

/// Where the key is. Blocks for as long as the store does.
KeyPlace placeOf(const KeyedService& service, SecureStore& store);

} // namespace fenlo
