#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What the settings offer, as value and label, and the lines below them. Constant data, but for the lists that follow
/// other tables.
namespace fenlo {

struct SettingChoice {
    std::string value;
    std::string label; // what people read

    bool operator==(const SettingChoice&) const = default;
};
using SettingChoices = std::vector<SettingChoice>;

/// Offline only English is offered.
SettingChoices languageChoices(bool offline);
SettingChoices outputModeChoices();
SettingChoices smartRewriteStyleChoices();
SettingChoices smartRewriteModelChoices();
SettingChoices sttEngineChoices();
SettingChoices dictationModeChoices();
SettingChoices hotkeyChoices();
SettingChoices soundSchemeChoices();

/// The choices, and the present value behind them where it is none of them, so that it can be seen and kept.
SettingChoices withValue(SettingChoices choices, std::string_view value);

/// What the chosen sound scheme is like; empty for an unknown one.
std::string soundSchemeDescription(std::string_view scheme);

/// Where a key of this name is on a usual keyboard, when its label does not say; else empty.
std::string hotkeyHint(std::string_view hotkey);

/// The line below a setting, by the setting's name ("continuousMode"); empty where there is none.
std::string_view settingHint(std::string_view setting);

/// The line below the languages.
std::string_view languageHint(bool offline);

} // namespace fenlo
