#include "platform/desktop/VirtualDesktop.h"
#include "support/LogCapture.h"
#include "ui/Application.h"
#include "ui/FakePanel.h"
#include "ui/QtStatusItem.h"
#include "ui/Screen.h"
#include "ui/X11Desktop.h"

#include <QApplication>
#include <QDBusMessage>
#include <QMenu>
#include <QPoint>
#include <gtest/gtest.h>
#include <optional>

using namespace fenlo;
using test::pumpUntil;

namespace {

constexpr char missing[] = "[Fenlo] No system tray yet: the icon appears as soon as a panel has room for it";

class Tray : public ::testing::Test {
protected:
    void SetUp() override {
        item.setMenu(
            {{"Hold [Left Control] to dictate", {}}, MenuItem::separator(), {"Quit Fenlo", [this] { ++quits; }}});
    }

    /// A pixel of the screen with the colour of the recording face.
    static std::optional<QPoint> recordingIcon() {
        const QImage picture = test::screen::picture();
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if ((picture.pixel(x, y) & 0xFFFFFF) == 0xF24040)
                    return QPoint(x, y);
        return {};
    }
    static bool showsRecording() { return recordingIcon().has_value(); }
    static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    test::LogCapture logged;
    QtStatusItem item;
    int quits = 0;
};

/// A panel with the X11 system tray.
class EmbeddingPanel {
public:
    EmbeddingPanel() : m_trayer({"trayer", "--edge", "bottom", "--widthtype", "request", "--height", "24"}) {
        EXPECT_TRUE(pumpUntil([] { return x11::hasSystemTray(); }, 10));
    }

private:
    test::ChildProcess m_trayer;
};

} // namespace

TEST_F(Tray, APanelThatStartsLaterGetsTheIconAndItsMenu) {
    ASSERT_TRUE(pumpUntil([&] { return logged.contains(missing); })) << "told once, in one line";
    item.setFace(IconFace::recording);

    test::FakePanel panel;
    ASSERT_TRUE(pumpUntil([&] { return panel.registered.size() == 1; }));
    EXPECT_EQ(panel.property("Title"), "Fenlo");
    EXPECT_EQ(panel.property("Status"), "Active");
    EXPECT_EQ(panel.property("ItemIsMenu"), true) << "a left click shows the menu";
    const auto red = [](const test::FakePanel&, const NotifierImage& image) {
        const auto centre = static_cast<qsizetype>(image.height / 2 * image.width + image.width / 2) * 4;
        return image.argb.mid(centre, 4) == QByteArray("\xFF\xF2\x40\x40", 4);
    };
    EXPECT_EQ(panel.icon().width, 18);
    EXPECT_TRUE(red(panel, panel.icon())) << "the face set before the panel came, in network byte order";
    item.setFace(IconFace::idle);
    EXPECT_TRUE(pumpUntil([&] { return panel.newIcons == 1; }));
    EXPECT_FALSE(red(panel, panel.icon()));

    const BusMenuLayout menu = panel.menu();
    ASSERT_EQ(menu.children.size(), 3);
    EXPECT_EQ(menu.children[0].properties["label"], "Hold [Left Control] to dictate");
    EXPECT_EQ(menu.children[0].properties["enabled"], false);
    EXPECT_EQ(menu.children[1].properties["type"], "separator");
    EXPECT_TRUE(panel.choose("Quit Fenlo"));
    EXPECT_TRUE(pumpUntil([&] { return quits == 1; }));

    item.setMenu({{"Toggle [Left Control] to dictate", {}}});
    EXPECT_TRUE(pumpUntil([&] { return panel.newLayouts == 1; }));
    EXPECT_EQ(panel.menu().children.size(), 1);
    EXPECT_FALSE(panel.choose("Quit Fenlo"));
}

TEST_F(Tray, APanelThatStartsAnewGetsTheIconAgain) {
    for (int run = 0; run < 3; ++run) {
        test::FakePanel panel;
        ASSERT_TRUE(pumpUntil([&] { return !panel.registered.isEmpty(); })) << run;
        test::pump();
        EXPECT_EQ(panel.registered.size(), 1) << run;
    }
    EXPECT_TRUE(pumpUntil([&] { return logged.contains(missing); }));
    const auto lines = logged.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), missing), 1);
}

TEST_F(Tray, TheX11TrayIsUsedUntilABetterHostComes) {
    item.setFace(IconFace::recording);
    {
        EmbeddingPanel trayer;
        ASSERT_TRUE(pumpUntil([] { return showsRecording(); }, 10));
        {
            test::FakePanel panel;
            EXPECT_TRUE(pumpUntil([&] { return panel.registered.size() == 1; }));
            EXPECT_TRUE(pumpUntil([] { return !showsRecording(); })) << "one icon, not two";
        }
        EXPECT_TRUE(pumpUntil([] { return showsRecording(); })) << "back when that host is gone";
    }
    EXPECT_TRUE(pumpUntil([] { return !showsRecording(); }));
    EmbeddingPanel again;
    EXPECT_TRUE(pumpUntil([] { return showsRecording(); }, 10));
}

TEST_F(Tray, AClickOnTheIconShowsTheMenu) {
    item.setFace(IconFace::recording);
    EmbeddingPanel trayer;
    ASSERT_TRUE(pumpUntil([] { return showsRecording(); }, 10));
    // The tray grows and moves when an icon comes; on a busy machine it does so long after the icon shows, and a click
    // on the old place meets nothing.
    ASSERT_TRUE(pumpUntil(
        [] {
            const auto icon = recordingIcon();
            pumpUntil([] { return false; }, 0.1);
            if (!icon || recordingIcon() != icon)
                return false;
            test::screen::click({icon->x(), icon->y()});
            return pumpUntil([] { return openMenu() != nullptr; });
        },
        20));
    const auto lines = openMenu()->actions();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_FALSE(lines[0]->isEnabled());
    EXPECT_TRUE(lines[1]->isSeparator());
    item.setMenu({{"Replaced while it is open", {}}});
    lines[2]->trigger();
    EXPECT_EQ(quits, 1);
    openMenu()->close();
    test::pump();
}

TEST_F(Tray, AHostWithoutMenusMayAskForOurs) {
    test::FakePanel panel;
    ASSERT_TRUE(pumpUntil([&] { return panel.registered.size() == 1; }));
    QDBusConnection::sessionBus().send(QDBusMessage::createMethodCall(panel.registered[0], "/StatusNotifierItem",
                                                                      "org.kde.StatusNotifierItem", "Activate")
                                       << 5 << 5);
    ASSERT_TRUE(pumpUntil([] { return openMenu() != nullptr; }));
    openMenu()->close();
}
