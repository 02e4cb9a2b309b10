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
    RemoteConfiguration(Fetch fetchValues, std::function<std::optional<Values>()> valuesAtHand = {})
        : fetch(std::move(fetchValues)), atHand(std::move(valuesAtHand)) {}

    /// Blocks while the backend is asked.
    std::function<Values(std::stop_token)> fetch;
    /// What is known without asking; never blocks. Empty where fetch() answers at once.
    std::function<std::optional<Values>()> atHand;
};

} // namespace fenlo
