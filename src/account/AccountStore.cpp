#include "account/AccountStore.h"

#include "account/AccountItems.h"

namespace fenlo {

namespace {

SignedIn readSignedIn(Keychain& keychain) {
    if (!keychain.answers())
        return {.state = SignedIn::State::unknown};
    const auto email = keychain.load(accountItem::userEmail);
    // A sign-in with Apple may give no address.
    const bool hasSession = keychain.load(accountItem::refreshToken).value_or("").starts_with(accountItem::applePrefix);
    if (!email && !hasSession)
        return {};
    return {.state = SignedIn::State::user,
            .isApple = keychain.load(accountItem::provider) == accountItem::apple,
            .name = keychain.load(accountItem::userName).value_or(""),
            .email = email.value_or("")};
}

} // namespace

void AccountStore::read(std::function<void(SignedIn)> next) {
    run(readSignedIn, std::move(next));
}

void AccountStore::forget(std::function<void(bool)> next) {
    run(
        [](Keychain& keychain) {
            bool isForgotten = true;
            for (const char* name : accountItem::all)
                isForgotten = keychain.remove(name) && isForgotten;
            return isForgotten;
        },
        std::move(next));
}

} // namespace fenlo
