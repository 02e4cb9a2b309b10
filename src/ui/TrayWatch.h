#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <functional>

namespace fenlo {

/// What a panel offers for the program's icon.
enum class TrayHost { none, notifier, embedding };

/// Watches for panels that come and go: hosts of StatusNotifier items on the session bus, which are preferred, and the
/// X11 system tray. Never waits for either.
class TrayWatch : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    /// `onChange` is called with the first finding, and again whenever the icon has to be made anew.
    explicit TrayWatch(std::function<void(TrayHost)> onChange);
    ~TrayWatch() override;

private Q_SLOTS:
    void askNotifierWatcher();
    void notifierOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void setHasNotifier(bool hasNotifier);
    void update();

    std::function<void(TrayHost)> m_onChange;
    TrayHost m_host = TrayHost::none;
    bool m_isFirst = true;
    bool m_hasNotifier = false;
    int m_trayEvent = 0; // number of the X11 event, or 0
};

} // namespace fenlo
