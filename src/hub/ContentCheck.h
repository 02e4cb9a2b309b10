#pragma once

#include "hub/HubClient.h"

#include <memory>
#include <string_view>

struct evp_md_ctx_st;

namespace fenlo::hub {

/// Checks content, piece by piece, against what the hub says of the file: its size and its SHA-256 or git's SHA-1 of
/// the blob; the size alone where the hub gives no hash.
class ContentCheck {
public:
    explicit ContentCheck(const RepoFile& file);

    void add(std::string_view bytes);
    std::uint64_t size() const { return m_size; } // bytes added so far
    /// Call once, after the last byte.
    bool isRight();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };

    std::uint64_t m_expectedSize;
    std::string m_expectedHash;
    std::uint64_t m_size = 0;
    std::unique_ptr<evp_md_ctx_st, Free> m_digest; // null without a hash
};

/// What identifies the file's content on the hub; empty where only its size is known.
std::string contentHash(const RepoFile& file);

/// Checks a file on the disk. Also false when it is not a plain file, and on a stop request.
bool holds(const std::filesystem::path& place, const RepoFile& file, std::stop_token stop);

} // namespace fenlo::hub
