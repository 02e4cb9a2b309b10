#include "ui/BusMenu.h"

#include <QDBusVariant>
#include <gtest/gtest.h>

using namespace fenlo;

namespace {

class Exported : public ::testing::Test {
protected:
    Exported() {
        QObject::connect(&menu, &BusMenu::LayoutUpdated, &menu, [this](uint number, int) { announced = number; });
        menu.setItems({{"snake_case & more", {}}, MenuItem::separator(), {"Quit", [this] { ++chosen; }}});
    }
    BusMenuLayout layout(int depth = -1) {
        BusMenuLayout result;
        revision = menu.GetLayout(0, depth, {}, result);
        return result;
    }
    void click(int id) { menu.Event(id, "clicked", QDBusVariant(0), 0); }

    BusMenu menu;
    int chosen = 0;
    uint announced = 0;
    uint revision = 0;
};

} // namespace

TEST_F(Exported, DescribesItsItems) {
    const BusMenuLayout root = layout();
    EXPECT_EQ(root.id, 0);
    EXPECT_EQ(root.properties["children-display"], "submenu");
    ASSERT_EQ(root.children.size(), 3);
    EXPECT_EQ(root.children[0].properties["label"], "snake__case & more") << "no access key";
    EXPECT_EQ(root.children[0].properties["enabled"], false);
    EXPECT_EQ(root.children[1].properties["type"], "separator");
    EXPECT_EQ(root.children[2].properties["enabled"], true);
    EXPECT_TRUE(layout(0).children.isEmpty());
    EXPECT_EQ(menu.GetGroupProperties({root.children[2].id, 99}, {}).size(), 1);
    EXPECT_EQ(menu.GetProperty(root.children[2].id, "label").variant(), "Quit");
}

TEST_F(Exported, AChoiceFromAReplacedMenuDoesNothing) {
    const int quit = layout().children[2].id;
    click(quit);
    EXPECT_EQ(chosen, 1);
    menu.Event(quit, "hovered", QDBusVariant(0), 0);
    EXPECT_EQ(chosen, 1);

    int others = 0;
    menu.setItems({{"A", [&] { ++others; }}, {"B", [&] { ++others; }}, {"C", [&] { ++others; }}});
    EXPECT_NE(layout().children[2].id, quit);
    EXPECT_EQ(announced, revision);
    click(quit);
    click(0);
    click(-5);
    click(1 << 30);
    EXPECT_EQ(others, 0);
    EXPECT_EQ(menu.EventGroup(
                  {{quit, "clicked", QDBusVariant(0), 0}, {layout().children[1].id, "clicked", QDBusVariant(0), 0}}),
              QList<int>{quit});
    EXPECT_EQ(others, 1);
}

TEST_F(Exported, AnActionMayReplaceTheMenu) {
    menu.setItems({{"Switch", [this] { menu.setItems({{"Switched", {}}}); }}});
    click(layout().children[0].id);
    EXPECT_EQ(layout().children[0].properties["label"], "Switched");
}
