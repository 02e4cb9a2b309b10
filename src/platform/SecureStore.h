#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// The desktop's store for secrets: string values by account name, under the service "com.fenlo.voicetotext".
///
/// After a store has stayed locked or silent, it is not asked to unlock again, and later calls find only what is
/// unlocked and save only into what is unlocked. askAgain() ends that.
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
    /// Returns why the value is still there, or nothing when there is none any more.
    virtual std::optional<std::string> remove(const std::string& name) = 0;
    /// The user has acted and may be asked once more to unlock the store.
    virtual void askAgain() = 0;
};

} // namespace fenlo
