#include "app/Diagnosis.h"

#include "app/DesktopPlatform.h"
#include "app/DesktopSession.h"
#include "app/LocalEngine.h"
#include "app/RoadDiagnosis.h"
#include "app/ServiceDiagnosis.h"
#include "app/TakeServices.h"
#include "audio/ChosenInput.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/RunLoop.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "platform/linux/audio/PulseAudioInput.h"
#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "ui/TrayWatch.h"

#include <QApplication>
#include <QTimer>
#include <functional>
#include <map>
#include <unistd.h>

namespace fenlo {

namespace {

using State = Diagnosis::State;

constexpr double accessibilityPatience = 2.0; // seconds for the bus to be found
constexpr double keyringPatience = 2.0;
constexpr int trayPatience = 1000; // milliseconds

void examineHotkey(std::vector<Diagnosis>& findings, const KeyEvents& keys, const std::string& hotkeyName) {
    const Hotkey* hotkey = findHotkey(hotkeyName);
    if (!hotkey)
        findings.push_back(
            {"hotkey choice", State::broken, "'" + hotkeyName + "' is no hotkey",
             "set \"hotkey\" to ctrl_l, shift_l, cmd_l, option_r or fn in " + Config::defaultFile().string()});
    else if (!keys.canDeliver(hotkey->keyCode))
        findings.push_back({"hotkey choice", State::broken,
                            "this desktop does not deliver the " + hotkeyLabel(hotkeyName) + " key",
                            "choose another \"hotkey\" in " + Config::defaultFile().string()});
    else
        findings.push_back({"hotkey choice", State::works, hotkeyLabel(hotkeyName), ""});
    if (!keys.canDeliver(key::function))
        findings.push_back({"Fn key", State::limited,
                            "this desktop does not deliver the Fn key, as most keyboards handle it themselves",
                            "choose one of the other four hotkeys"});
}

void examineAccessibility(std::vector<Diagnosis>& findings, const KeyEvents& keys, Clock& clock) {
    AtspiAccessibility accessibility(keys);
    for (int tenth = 0; tenth < accessibilityPatience * 10 && !accessibility.isAvailable(); ++tenth)
        clock.sleep(0.1);
    if (accessibility.isAvailable())
        findings.push_back({"accessibility", State::works, "the accessibility bus answers", ""});
    else
        findings.push_back({"accessibility", State::limited,
                            "no accessibility bus: Fenlo sees neither the text around the cursor nor the selection",
                            "install at-spi2-core and log in again"});
}

void examineTray(std::vector<Diagnosis>& findings, const DesktopSession& session) {
    if (session.fault())
        return; // the toolkit would end the process
    session.chooseToolkitPlatform();
    int argumentCount = 1;
    std::string program = "fenlo";
    char* arguments[] = {program.data(), nullptr};
    QApplication application(argumentCount, arguments);
    TrayHost host = TrayHost::none;
    const TrayWatch watch([&](TrayHost found) {
        host = found;
        if (found != TrayHost::none)
            QApplication::quit();
    });
    QTimer::singleShot(trayPatience, &application, &QApplication::quit);
    QApplication::exec();
    if (host == TrayHost::none)
        findings.push_back({"system tray", State::limited, "no panel shows tray icons, so there is no menu",
                            "add a system tray to the panel; without one, end Fenlo with `pkill -x fenlo`"});
    else
        findings.push_back({"system tray", State::works, "a panel shows the icon", ""});
}

void examineSound(std::vector<Diagnosis>& findings, const Settings& settings) {
    RunLoop loop; // nothing is posted to it that matters here
    const PulseAudioInput input(loop);
    if (const auto device = chosenDevice(settings, input))
        findings.push_back({"microphone", State::works, device->name + (device->isBuiltIn ? "" : " (external)"), ""});
    else
        findings.push_back(
            {"microphone", State::broken, "no sound server, or no microphone",
             "check that PulseAudio or PipeWire runs (`pactl info`) and that an input is plugged in and chosen"});
}

void examineSecrets(std::vector<Diagnosis>& findings, SecureStore& store) {
    if (!Keychain(store).answers())
        findings.push_back({"secure store", State::limited,
                            "no keyring answers: keys cannot be kept from one start to the next",
                            "install and unlock gnome-keyring or KWallet, or keep API keys in the environment"});
    else
        findings.push_back({"secure store", State::works, "the desktop's keyring answers", ""});
}

/// Asks for each key once: a keyring that does not answer costs its patience.
class KeyPlaces {
public:
    explicit KeyPlaces(SecureStore& store) : m_store(store) {}

    KeyPlace operator()(const ServiceKey& key) {
        const auto found = m_known.find(key.service);
        return found != m_known.end() ? found->second : m_known[key.service] = placeOf(key, m_store);
    }

private:
    SecureStore& m_store;
    std::map<CloudService, KeyPlace> m_known;
};

void examineEngine(std::vector<Diagnosis>& findings) {
    const whisper::InstructionChoice& choice = whisper::settleInstructionSet(instructionTrial());
    std::string finding = "calculates with " + std::string(whisper::nameOf(choice.used));
    for (const std::string& reason : choice.reasons)
        finding += "; " + reason;
    findings.push_back({"offline engine", choice.hasFault ? State::limited : State::works, finding,
                        choice.hasFault ? "it is only slower; a newer oneDNN (libdnnl) may mend that" : ""});
}

void examineSettings(std::vector<Diagnosis>& findings, const StoredSettings& stored) {
    const auto file = Config::defaultFile();
    const auto aside = files::thoseSetAside(file);
    const auto& fault = stored.fault;
    if (fault && fault->kind == SettingsFault::Kind::unreadable)
        findings.push_back({"settings", State::limited, fault->message + "; the settings are at their defaults",
                            "give yourself the right to read " + file.string()});
    else if (fault)
        findings.push_back({"settings", State::limited, fault->message + "; the settings are at their defaults",
                            "mend the file; Fenlo sets it aside when it next saves settings"});
    else if (!aside.empty())
        findings.push_back({"settings", State::limited,
                            "a damaged file was set aside, so its settings do not count: " + aside.back().string(),
                            "take over what you need of it into " + file.string() + ", then remove it"});
    else
        findings.push_back({"settings", State::works, file.string(), ""});
}

/// The name of the offline model's folder when takes can go there; empty otherwise.
std::string examineOfflineModel(std::vector<Diagnosis>& findings, const Settings& settings,
                                const Deployment& deployment, Clock& clock) {
    if (!settings.offlineMode)
        return {};
    const auto folder = findInstalledModel(deployment.offlineModel);
    if (!folder) {
        findings.push_back(
            {"offline model", State::limited,
             "offline mode is on, but there is no model \"" + deployment.offlineModel + "\": takes go to the cloud",
             "fenlo models download " + deployment.offlineModel});
        return {};
    }
    const std::string name = folder->filename().string();
    const ModelCheck check = checkModel(*folder, deployment, clock);
    if (!check.fault.empty()) {
        findings.push_back({"offline model", State::limited,
                            name + " does not load, so takes go to the cloud: " + check.fault,
                            "fenlo models repair " + name});
        return {};
    }
    findings.push_back({"offline model", State::works,
                        name + (check.isPrepared ? " loads" : " is whole, and is prepared at its first use"), ""});
    return name;
}

void examineRoad(std::vector<Diagnosis>& findings, const Settings& settings, SecureStore& store, Clock& clock) {
    const Deployment deployment = Deployment::load();
    KeyPlaces places(store);
    RoadFacts facts{settings, examineOfflineModel(findings, settings, deployment, clock), !deployment.xaiApiKey.empty(),
                    std::ref(places)};
    if (const auto installed = findInstalledModel(deployment.offlineModel); installed && !settings.offlineMode)
        facts.rescuer = installed->filename().string();
    facts.keyring = keyringUse;
    if (deployment.hasService()) {
        CurlHttpClient http;
        facts.remote = diagnoseService(findings, deployment, store, http);
        if (const auto provider = facts.remote.find("transcription_provider"); provider != facts.remote.end())
            facts.provider = provider->second;
    }
    diagnoseRoad(findings, facts);
}

void examineFiles(std::vector<Diagnosis>& findings) {
    const auto folder = files::dataDirectory();
    if (files::makePrivateDirectory(folder) && ::access(folder.c_str(), W_OK) == 0)
        findings.push_back({"data folder", State::works, folder.string(), ""});
    else
        findings.push_back({"data folder", State::limited,
                            folder.string() + " cannot be written: settings are forgotten",
                            "make " + folder.string() + " a folder that you may write to"});
    findings.push_back({"log", State::works, logFile().string(), ""});
}

} // namespace

std::vector<Diagnosis> examine() {
    std::vector<Diagnosis> findings;
    RunLoop loop;
    SystemClock clock;
    DesktopSession session;
    const DesktopKeys keys = makeKeys(session, loop);
    const StoredSettings stored = readSettings(Config::defaultFile());
    diagnoseDesktop(findings, session, keys, Diligence::tries);
    if (session.isWayland() ? keys.hear() : session.hasX())
        examineHotkey(findings, *keys.events, stored.settings.hotkey);
    examineAccessibility(findings, *keys.events, clock);
    examineTray(findings, session);
    examineSound(findings, stored.settings);
    SecretServiceStore store(keyringPatience);
    examineSecrets(findings, store);
    examineSettings(findings, stored);
    examineEngine(findings);
    examineRoad(findings, stored.settings, store, clock);
    examineFiles(findings);
    return findings;
}

} // namespace fenlo
