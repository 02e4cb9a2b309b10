#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

/// A mail that the user looks over and sends himself.
struct MailDraft {
    std::vector<std::string> recipients; // may be empty
    std::string subject;
    std::string text;           // plain; at most maxMailText bytes once percent-encoded
    std::filesystem::path file; // shown in its folder, for the user to attach; empty for none
};

/// Longer texts do not reach a mail program.
inline constexpr std::size_t maxMailText = 100'000;

/// The user's own mail program.
///
/// Threads: workers; open() blocks until the program is started, for some seconds at most.
/// Errors:  open() returns one sentence for the screen that ends in a remedy, or nothing once the program has the
/// draft.
class MailProgram {
public:
    virtual ~MailProgram() = default;

    virtual std::optional<std::string> open(const MailDraft& draft, std::stop_token stop) = 0;
};

} // namespace fenlo
