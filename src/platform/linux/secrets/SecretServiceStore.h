#pragma once

#include "base/Guarded.h"
#include "platform/SecureStore.h"

#include <atomic>
#include <map>
#include <string>

typedef struct _GCancellable GCancellable;

namespace fenlo {

/// The secure store in the desktop's keyring (the Secret Service). Without a keyring a saved value is kept for this
/// process only.
///
/// Threads: worker threads, as SecureStore; close() on any.
/// Errors:  a keyring that does not answer within the limit, stays locked or is not there is `unavailable`.
class SecretServiceStore final : public SecureStore {
public:
    /// `limit` is in seconds, for one operation, the user's unlocking included.
    explicit SecretServiceStore(double limit = 60);
    ~SecretServiceStore() override;

    std::optional<std::string> save(const std::string& name, const std::string& value) override;
    Value load(const std::string& name) override;
    std::optional<std::string> remove(const std::string& name) override;
    void askAgain() override { m_wasRefused = false; }

    /// Ends the operations in progress and refuses later ones, so that quitting does not wait for the keyring.
    void close();

private:
    double limit(bool wasRefused) const;
    void noteRefusal();

    const double m_limit;
    GCancellable* const m_closed;
    std::atomic<bool> m_wasRefused = false; // the keyring stayed locked or silent
    Guarded<std::map<std::string, std::string>> m_processOnly;
};

} // namespace fenlo
