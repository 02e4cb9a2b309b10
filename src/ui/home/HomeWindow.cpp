#include "ui/home/HomeWindow.h"

#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"
#include "ui/home/AboutAdapter.h"
#include "ui/home/AccountAdapter.h"
#include "ui/home/DashboardAdapter.h"
#include "ui/home/HistoryList.h"
#include "ui/home/SettingsAdapter.h"
#include "ui/home/SnippetList.h"
#include "ui/home/VoiceProfileAdapter.h"
#include "ui/meeting/MeetingAdapter.h"
#include "ui/parts/MicrophoneChoice.h"
#include "ui/parts/ModelList.h"
#include "ui/parts/OfflineMode.h"
#include "ui/parts/ServiceKeyList.h"

#include <QCoreApplication>
#include <QQuickWindow>
#include <QTimer>
#include <chrono>
#include <utility>

namespace fenlo {

namespace {

constexpr std::chrono::seconds lastWorkers{3};

} // namespace

/// All that exists only while the window does. The adapters outlive the QML that is bound to them.
struct HomeWindow::Open {
    Open(const HomeModels& models, Appearance& appearance, const std::function<void()>& readPassage,
         std::function<void()> closed)
        : dashboard(models.dashboard), meeting(models.meeting), history(models.history),
          settings(models.settings, models.hotkeyTest), snippets(models.snippets), voice(models.voice, readPassage),
          about(models.about), account(models.account), serviceKeys(models.serviceKeys), offline(models.settings),
          offlineModels(models.offlineModels), microphone(models.microphone),
          window("Home/HomeWindow.qml",
                 {{"appearance", QVariant::fromValue(&appearance)},
                  {"dashboard", QVariant::fromValue(&dashboard)},
                  {"meeting", QVariant::fromValue(&meeting)},
                  {"history", QVariant::fromValue(&history)},
                  {"settings", QVariant::fromValue(&settings)},
                  {"snippets", QVariant::fromValue(&snippets)},
                  {"voice", QVariant::fromValue(&voice)},
                  {"about", QVariant::fromValue(&about)},
                  {"account", QVariant::fromValue(&account)},
                  {"serviceKeys", QVariant::fromValue(&serviceKeys)},
                  {"offline", QVariant::fromValue(&offline)},
                  {"offlineModels", QVariant::fromValue(&offlineModels)},
                  {"microphone", QVariant::fromValue(&microphone)}},
                 std::move(closed)) {}

    DashboardAdapter dashboard;
    MeetingAdapter meeting;
    HistoryList history;
    SettingsAdapter settings;
    SnippetList snippets;
    VoiceProfileAdapter voice;
    AboutAdapter about;
    AccountAdapter account;
    ServiceKeyList serviceKeys;
    OfflineMode offline;
    ModelList offlineModels;
    MicrophoneChoice microphone;
    QmlWindow window;
};

HomeWindow::HomeWindow(HomeModels models, Appearance& appearance, std::function<void()> readPassage)
    : m_models(models), m_appearance(appearance), m_readPassage(std::move(readPassage)) {}

HomeWindow::~HomeWindow() = default;

void HomeWindow::open(HomeTab tab) {
    if (!m_open)
        m_open = std::make_unique<Open>(m_models, m_appearance, m_readPassage, [this] { close(); });
    if (QQuickWindow* window = m_open->window.window())
        window->setProperty("tab", static_cast<int>(tab));
    m_open->window.toFront();
}

void HomeWindow::close() {
    m_open.reset();
    QmlWindow::trimMemory();
    // Workers may still hold what they were reading for it.
    QTimer::singleShot(lastWorkers, QCoreApplication::instance(), &QmlWindow::trimMemory);
}

} // namespace fenlo
