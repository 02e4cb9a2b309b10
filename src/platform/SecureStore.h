#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// The desktop's store for secrets: string values by account name, under the service "com.fenlo.voicetotext".
///
/// A store that stays locked, or does not answer in time, is not asked to unlock again: what comes later finds only what
/// lies open. askAgain() ends that.
///
/// Threads: worker threads only; a locked store may wait for the user. askAgain() on any.
class SecureStore {
public:
    enum class Status { ok, notFound, unavailable };
    struct Value {
        Status status = Status::notFound;
        std::string text;
    };

    virtual ~SecureStore() = default;

    /// Returns an error text, or nothing.
    virtual std::optional<std::string> save(const std::string& name, const std::string& value) = 0;
    virtual Value load(const std::string& name) = 0;
    virtual void remove(const std::string& name) = 0;
    /// The user has acted, and may be asked to unlock the store once more.
    virtual void askAgain() = 0;
};

} // namespace fenlo
