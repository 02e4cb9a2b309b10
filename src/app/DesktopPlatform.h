#pragma once

#include "app/KeyRoads.h"
#include "shell/Diagnosis.h"

#include <functional>
#include <memory>
#include <vector>

namespace fenlo {

class DesktopSession;
class KeyEvents;
class MainQueue;
class Pasteboard;
class PillWindows;
class ResultCards;

/// The keyboard of the session.
struct DesktopKeys {
    std::unique_ptr<KeyEvents> events;
    std::function<bool()> hear; // whether the keys of all applications are heard
    /// What hears keys and what posts them here, and how to get a better road.
    std::function<void(std::vector<Diagnosis>& findings, Diligence diligence)> diagnose;
};

// The adapters of the ports, chosen by what the session offers. The session outlives them.

DesktopKeys makeKeys(DesktopSession& session, MainQueue& mainQueue);
std::unique_ptr<Pasteboard> makePasteboard(DesktopSession& session);
/// After the QApplication was made.
std::unique_ptr<PillWindows> makePills(DesktopSession& session, MainQueue& mainQueue);
std::unique_ptr<ResultCards> makeCards(DesktopSession& session, MainQueue& mainQueue);

/// For `fenlo doctor` and the log: the display, and by which road the program hears and posts keys, reaches the
/// clipboard, shows its pill and knows the front application.
void diagnoseDesktop(std::vector<Diagnosis>& findings, DesktopSession& session, const DesktopKeys& keys,
                     Diligence diligence);

} // namespace fenlo
