#include "account/ConfigurationKeeper.h"

#include "account/BackendClient.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Text.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

constexpr double leftAloneFor = 60; // seconds

} // namespace

RemoteConfiguration::Values textsOf(const nlohmann::json& configuration) {
    RemoteConfiguration::Values values;
    for (const auto& [name, value] : configuration.items())
        if (value.is_string())
            values[name] = text::withoutControls(value.get_ref<const std::string&>());
    return values;
}

ConfigurationKeeper::ConfigurationKeeper(BackendClient& backend, const Clock& clock, Background& beside)
    : m_backend(backend), m_clock(clock), m_beside(beside), m_leftAloneUntil(-std::numeric_limits<double>::infinity()) {
}

std::optional<ConfigurationKeeper::Values> ConfigurationKeeper::atHand() {
    if (mayAsk())
        askBeside();
    const auto configuration = m_backend.configInMemory();
    return configuration ? std::optional(textsOf(*configuration)) : std::nullopt;
}

ConfigurationKeeper::Values ConfigurationKeeper::fetch(std::stop_token stop) {
    if (!m_backend.configInMemory() && mayAsk())
        ask(stop);
    return atHand().value_or(Values());
}

void ConfigurationKeeper::askAgain() {
    m_leftAloneUntil = -std::numeric_limits<double>::infinity();
    m_hasFailed = false;
    if (mayAsk())
        askBeside();
}

bool ConfigurationKeeper::mayAsk() const {
    return m_backend.hasService() && !m_backend.isConfigFresh() && m_clock.now() >= m_leftAloneUntil;
}

void ConfigurationKeeper::ask(std::stop_token stop) {
    m_asking.run(
        [&]() -> std::optional<bool> {
            if (!mayAsk()) // it was answered, or failed, since the caller looked
                return false;
            m_backend.getConfig(stop);
            m_hasFailed = !m_backend.isConfigFresh() && !stop.stop_requested();
            if (m_hasFailed)
                m_leftAloneUntil = m_clock.now() + leftAloneFor;
            return true;
        },
        stop);
}

void ConfigurationKeeper::askBeside() {
    if (m_isAskedBeside.exchange(true))
        return;
    m_beside.run([this](std::stop_token stop) {
        ask(stop);
        m_isAskedBeside = false;
    });
}

} // namespace fenlo
