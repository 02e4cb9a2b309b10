#include "app/KeyRoads.h"

#include "platform/linux/wayland/keys/WaylandKeyEvents.h"

#include <string>

namespace fenlo {

namespace {

using State = Diagnosis::State;
using Findings = std::vector<Diagnosis>;

/// What programs of this user may do then, any of them, is told in the file.
constexpr char betterHearing[] =
    "to have Fenlo hear every key, link /usr/share/fenlo/70-fenlo.rules into /etc/udev/rules.d (read it first)";

std::string keyboardsFound() {
    const KeyboardCensus census = countKeyboards();
    if (census.eventDevices == 0)
        return "this session shows no input devices";
    return "keyboards may not be read (" + std::to_string(census.readable) + " of " +
           std::to_string(census.eventDevices) + " devices may)";
}

void diagnosePortal(Findings& findings, const PortalShortcut::Report& shortcut, Diligence diligence) {
    if (shortcut.state == PortalShortcut::State::bound)
        findings.push_back({"hotkey", State::works,
                            "the desktop tells of its shortcut" + (shortcut.keys.empty() ? "" : ": " + shortcut.keys),
                            ""});
    else if (shortcut.state == PortalShortcut::State::unbound)
        findings.push_back({"hotkey", State::limited, "the desktop's shortcut for Fenlo has no keys",
                            "choose them in the desktop's keyboard settings, among the applications' shortcuts"});
    else
        findings.push_back(
            {"hotkey", State::limited,
             (diligence == Diligence::tries ? "the desktop asks for a shortcut of its own when Fenlo starts; "
                                            : "the desktop's portal is asked for a shortcut; ") +
                 keyboardsFound(),
             betterHearing});
}

void diagnoseHearing(Findings& findings, const WaylandKeyEvents& keys, Diligence diligence) {
    if (keys.hearing() == WaylandKeyEvents::Hearing::keyboards)
        findings.push_back({"hotkey", State::works, "keys are heard from the machine's keyboards", ""});
    else if (diligence == Diligence::tries ? givesShortcuts() : hasShortcutPortal())
        diagnosePortal(findings, keys.shortcut(), diligence);
    else
        findings.push_back(
            {"hotkey", State::limited,
             "no key is heard: " + keyboardsFound() + ", and the desktop has no portal for shortcuts",
             std::string("bind `fenlo-trigger press` and `fenlo-trigger release` to a key of the compositor's; or, ") +
                 betterHearing});
}

} // namespace

void diagnoseWaylandKeys(Findings& findings, const WaylandKeyEvents& keys, Diligence diligence) {
    diagnoseHearing(findings, keys, diligence);
    const PasteKeys* const paste = keys.pasteKeys();
    if (!paste)
        return;
    const PasteKeys::Road road = paste->road();
    if (road.kind == PostingRoad::none)
        findings.push_back({"paste keys", State::limited, road.why, "to have Fenlo paste by itself, see `man fenlo`"});
    else
        findings.push_back({"paste keys", State::works, road.why, ""});
}

} // namespace fenlo
