#pragma once

#include <concepts>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

namespace fenlo {

/// What the backend tells this installation, by name. Without functions there is no backend.
struct RemoteConfiguration {
    using Values = std::map<std::string, std::string>;

    RemoteConfiguration() = default;
    template <std::invocable<std::stop_token> Fetch>
    RemoteConfiguration(Fetch fetchValues, std::function<std::optional<Values>()> valuesAtHand = {},
                        std::function<bool()> failedLast = {})
        : fetch(std::move(fetchValues)), atHand(std::move(valuesAtHand)), hasFailed(std::move(failedLast)) {}

    /// Blocks while the backend is asked.
    std::function<Values(std::stop_token)> fetch;
    /// What is known without asking; never blocks. Empty where fetch() answers at once.
    std::function<std::optional<Values>()> atHand;
    /// Whether the backend did not answer when it was last asked.
    std::function<bool()> hasFailed;
};

} // namespace fenlo
