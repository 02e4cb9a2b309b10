#include "app/DesktopPlatform.h"

#include "app/DesktopSession.h"
#include "base/Environment.h"
#include "base/Files.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/desktop/clipboard/X11Selections.h"
#include "platform/linux/desktop/keys/X11KeyEvents.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/clipboard/ClipboardKeeper.h"
#include "platform/linux/wayland/clipboard/DataControl.h"
#include "platform/linux/wayland/keys/WaylandKeyEvents.h"
#include "platform/linux/wayland/overlay/LayerSurfaces.h"
#include "platform/linux/wayland/posting/UinputKeyboard.h"
#include "ui/LayerPillWindow.h"
#include "ui/LayerResultCard.h"
#include "ui/QtPillWindow.h"
#include "ui/QtResultCard.h"

#include <string>

namespace fenlo {

namespace {

using State = Diagnosis::State;
using Findings = std::vector<Diagnosis>;

void diagnoseX11Keys(Findings& findings, const X11KeyEvents& keys) {
    if (keys.hasXInput2())
        findings.push_back({"hotkey", State::works, "keys of all applications can be heard (XInput 2)", ""});
    else
        findings.push_back(
            {"hotkey", State::broken, "the X server has no XInput 2.1", "use an X server with the XInput extension"});
    if (keys.hasXTest())
        findings.push_back({"paste keys", State::works, "keys can be posted (XTEST)", ""});
    else
        findings.push_back(
            {"paste keys", State::broken, "the X server has no XTEST extension", "enable XTEST in the X server"});
}

void diagnoseDisplay(Findings& findings, const DesktopSession& session) {
    if (session.isWayland())
        findings.push_back({"display", State::works,
                            std::string("a Wayland session") +
                                (session.hasX() ? ", with XWayland at " + environment("DISPLAY") : " without XWayland"),
                            ""});
    else if (session.hasX())
        findings.push_back({"display", State::works, "X display " + environment("DISPLAY"), ""});
    else
        findings.push_back({"display", State::broken, "no X display (DISPLAY is '" + environment("DISPLAY") + "')",
                            "start Fenlo in a desktop session"});
}

void diagnoseFrontApplication(Findings& findings, const DesktopSession& session) {
    const std::string better = "a compositor with wlr-foreign-toplevel-management tells it of every application";
    switch (session.frontRoad()) {
    case DesktopSession::FrontRoad::xServer:
        break; // nothing else is there to choose from
    case DesktopSession::FrontRoad::toplevels:
        findings.push_back({"front application", State::works, "told by the compositor (foreign toplevels)", ""});
        break;
    case DesktopSession::FrontRoad::xWaylandAndAccessibility:
        findings.push_back({"front application", State::limited,
                            "told by XWayland for X programs, else by the accessibility bus", better});
        break;
    case DesktopSession::FrontRoad::accessibility:
        findings.push_back({"front application", State::limited, "told by the accessibility bus", better});
        break;
    }
}

void diagnoseClipboard(Findings& findings, DesktopSession& session) {
    if (session.wayland().offers("ext_data_control_manager_v1") ||
        session.wayland().offers("zwlr_data_control_manager_v1"))
        findings.push_back({"clipboard", State::works, "reached without a window (data-control)", ""});
    else if (session.hasX())
        findings.push_back({"clipboard", State::limited, "reached through XWayland, as far as the compositor shares it",
                            "a compositor with ext-data-control shares it always"});
    else
        findings.push_back({"clipboard", State::broken, "the compositor lets no program reach it",
                            "install xwayland and log in again"});
}

void diagnosePill(Findings& findings, DesktopSession& session) {
    if (session.wayland().offers("zwlr_layer_shell_v1"))
        findings.push_back({"pill", State::works, "above all windows, in a layer of the compositor (layer-shell)", ""});
    else if (session.hasX())
        findings.push_back({"pill", State::works, "a window of XWayland: the compositor has no layer-shell", ""});
    else
        findings.push_back({"pill", State::limited, "an ordinary window, which the compositor places",
                            "install xwayland, or use a compositor with layer-shell"});
}

DesktopKeys makeX11Keys(MainQueue& mainQueue) {
    auto keys = std::make_unique<X11KeyEvents>(mainQueue);
    const X11KeyEvents& x11 = *keys;
    return {.events = std::move(keys),
            .hear = [&x11] { return x11.hasXInput2(); },
            .diagnose = [&x11](Findings& findings, Diligence) { diagnoseX11Keys(findings, x11); }};
}

DesktopKeys makeWaylandKeys(DesktopSession& session, MainQueue& mainQueue) {
    WaylandKeyEvents::Options options;
    options.keyboards.ownName = UinputKeyboard::deviceName;
    options.posting.tokenFile = files::dataDirectory() / "remote-desktop.token";
    auto keys = std::make_unique<WaylandKeyEvents>(mainQueue, &session.wayland(), std::move(options));
    const WaylandKeyEvents& wayland = *keys;
    return {.events = std::move(keys),
            .hear = [&wayland] { return wayland.hearing() != WaylandKeyEvents::Hearing::triggersOnly; },
            .diagnose = [&wayland](Findings& findings,
                                   Diligence diligence) { diagnoseWaylandKeys(findings, wayland, diligence); }};
}

} // namespace

DesktopKeys makeKeys(DesktopSession& session, MainQueue& mainQueue) {
    return session.isWayland() ? makeWaylandKeys(session, mainQueue) : makeX11Keys(mainQueue);
}

std::unique_ptr<Pasteboard> makePasteboard(DesktopSession& session) {
    std::unique_ptr<Selections> selections;
    if (session.isWayland())
        selections = DataControl::open(clipboardKeeper());
    if (!selections)
        selections = X11Selections::open();
    return std::make_unique<ServedPasteboard>(std::move(selections));
}

std::unique_ptr<PillWindows> makePills(DesktopSession& session, MainQueue& mainQueue) {
    if (auto layers = session.isWayland() ? LayerSurfaces::start(session.wayland(), mainQueue) : nullptr)
        return std::make_unique<LayerPillWindows>(std::move(layers));
    return std::make_unique<QtPillWindows>();
}

std::unique_ptr<ResultCards> makeCards(DesktopSession& session, MainQueue& mainQueue) {
    if (auto layers = session.isWayland() ? LayerSurfaces::start(session.wayland(), mainQueue) : nullptr)
        return std::make_unique<LayerResultCards>(std::move(layers));
    return std::make_unique<QtResultCards>();
}

void diagnoseDesktop(Findings& findings, DesktopSession& session, const DesktopKeys& keys, Diligence diligence) {
    diagnoseDisplay(findings, session);
    if (!session.isWayland() && !session.hasX())
        return;
    keys.diagnose(findings, diligence);
    if (session.isWayland()) {
        diagnoseClipboard(findings, session);
        diagnosePill(findings, session);
    }
    diagnoseFrontApplication(findings, session);
}

} // namespace fenlo
