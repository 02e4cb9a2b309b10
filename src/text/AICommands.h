#pragma once

#include "text/FocusContext.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Clock;
class SmartRewrite;

/// The user's own recent dictations as a block of text for a language model: those that a query may mean, the newest
/// `limit` of them, or nothing when there are none.
using RecallContext = std::function<std::optional<std::string>(const std::string& query, std::size_t limit)>;

/// Carries out spoken instructions: changes or writes text for the application in front, or finds again what the user
/// dictated before.
///
/// Threads: workers; blocks for as long as the language model takes.
/// Errors:  none; a failure is a log line and no answer.
class AICommands {
public:
    AICommands(SmartRewrite& models, RecallContext recallContext, const Clock& clock);

    /// The text to deliver.
    std::optional<std::string> runAICommand(const std::string& instruction, const FocusContext& context,
                                            std::stop_token stop);

private:
    std::optional<std::string> recall(const std::string& instruction, std::stop_token stop);
    std::optional<std::string> command(const std::string& instruction, const FocusContext& context,
                                       std::stop_token stop);

    SmartRewrite& m_models;
    const RecallContext m_recallContext;
    const Clock& m_clock;
};

} // namespace fenlo
