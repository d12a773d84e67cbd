#include "ui/tray/dbus_menu_exporter.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QMenu>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

// The exporter's answers do not need a bus; an unconnected one keeps the test to itself.
QDBusConnection noBus() {
    return QDBusConnection(QStringLiteral("ravo-menu-test-no-bus"));
}

QStringList labels(const DBusMenuLayoutItem& item) {
    QStringList out;
    for (const auto& child : item.children)
        out << (child.properties.value("type") == "separator"
                    ? QStringLiteral("-")
                    : child.properties.value("label").toString());
    return out;
}

TEST(DBusMenuLabel, MnemonicsAndUnderscoresAsPanelsReadThem) {
    EXPECT_EQ(dbusMenuLabel("Quit Ravo"), "Quit Ravo");
    EXPECT_EQ(dbusMenuLabel("&Quit"), "_Quit");
    EXPECT_EQ(dbusMenuLabel("Save && quit"), "Save & quit");
    // A mnemonic on an underscore marks it, then escapes it.
    EXPECT_EQ(dbusMenuLabel("snake_case &_x"), "snake__case ___x");
    EXPECT_EQ(dbusMenuLabel("trailing &"), "trailing &");
}

TEST(DBusMenuExporter, LaysOutTheMenuWithOnlyWhatDiffersFromTheDefaults) {
    QMenu menu;
    menu.addAction("AI usage");
    menu.addAction("Check now")->setEnabled(false);
    menu.addSeparator();
    auto* group = new QActionGroup(&menu);
    for (const char* text : {"Light", "Dark"}) {
        auto* action = menu.addAction(text);
        action->setCheckable(true);
        group->addAction(action);
    }
    group->actions().at(1)->setChecked(true);
    auto* pin = menu.addAction("Pin");
    pin->setCheckable(true);
    QMenu more("More");
    more.addAction("Log");
    menu.addMenu(&more);
    menu.addAction("Hidden")->setVisible(false);

    DBusMenuExporter exporter(&menu, noBus(), "/MenuBar");
    const auto root = exporter.layout(0, -1, {});
    ASSERT_TRUE(root);
    EXPECT_EQ(root->properties.value("children-display"), "submenu");
    EXPECT_EQ(labels(*root), QStringList({"AI usage", "Check now", "-", "Light", "Dark", "Pin",
                                          "More", "Hidden"}));
    const auto& entries = root->children;
    EXPECT_EQ(entries[0].properties.size(), 1) << "a plain entry carries its label only";
    EXPECT_EQ(entries[1].properties.value("enabled"), false);
    EXPECT_EQ(entries[3].properties.value("toggle-type"), "radio");
    EXPECT_EQ(entries[3].properties.value("toggle-state"), 0);
    EXPECT_EQ(entries[4].properties.value("toggle-state"), 1);
    EXPECT_EQ(entries[5].properties.value("toggle-type"), "checkmark");
    EXPECT_EQ(entries[6].properties.value("children-display"), "submenu");
    EXPECT_EQ(labels(entries[6]), QStringList({"Log"}));
    EXPECT_EQ(entries[7].properties.value("visible"), false);

    // Ids are stable and name the same entry when asked again, alone or in part.
    const auto again = exporter.layout(0, 1, {"label"});
    ASSERT_TRUE(again);
    EXPECT_EQ(again->children[6].id, entries[6].id);
    EXPECT_TRUE(again->children[6].children.isEmpty()) << "depth 1 stops at the first level";
    EXPECT_FALSE(again->children[1].properties.contains("enabled")) << "only the names asked";
    const auto submenu = exporter.layout(entries[6].id, -1, {});
    ASSERT_TRUE(submenu);
    EXPECT_EQ(labels(*submenu), QStringList({"Log"}));
    EXPECT_FALSE(exporter.layout(9999, -1, {}));
    EXPECT_FALSE(exporter.properties(9999));
}

TEST(DBusMenuExporter, ClicksTriggerTheEntryAfterTheCallAndChangesBumpTheRevision) {
    QMenu menu;
    auto* settings = menu.addAction("Settings…");
    auto* disabled = menu.addAction("Check now");
    disabled->setEnabled(false);
    DBusMenuExporter exporter(&menu, noBus(), "/MenuBar");
    const auto root = exporter.layout(0, -1, {});
    ASSERT_TRUE(root);
    const int settingsId = root->children[0].id;
    const int disabledId = root->children[1].id;

    QSignalSpy triggered(settings, &QAction::triggered);
    QSignalSpy notTriggered(disabled, &QAction::triggered);
    EXPECT_TRUE(exporter.handleEvent(settingsId, "clicked"));
    EXPECT_TRUE(exporter.handleEvent(disabledId, "clicked"));
    EXPECT_TRUE(exporter.handleEvent(settingsId, "opened")) << "an entry without a submenu";
    EXPECT_TRUE(exporter.handleEvent(0, "opened"));
    EXPECT_EQ(triggered.count(), 0) << "not inside the host's call";
    QCoreApplication::processEvents();
    EXPECT_EQ(triggered.count(), 1);
    EXPECT_EQ(notTriggered.count(), 0);

    // Entries added one by one reach the host as one new layout.
    const uint before = exporter.revision();
    menu.addAction("Refresh now");
    menu.addAction("Quit Ravo");
    QCoreApplication::processEvents();
    EXPECT_EQ(exporter.revision(), before + 1);
    settings->setText("Preferences…");
    QCoreApplication::processEvents();
    EXPECT_EQ(exporter.revision(), before + 2);
    EXPECT_EQ(exporter.properties(settingsId)->value("label"), "Preferences…");

    // A removed entry is gone for the host too, not a dangling id.
    delete disabled;
    EXPECT_FALSE(exporter.handleEvent(disabledId, "clicked"));
    EXPECT_EQ(labels(*exporter.layout(0, -1, {})),
              QStringList({"Preferences…", "Refresh now", "Quit Ravo"}));
}

} // namespace
} // namespace ravo::ui
