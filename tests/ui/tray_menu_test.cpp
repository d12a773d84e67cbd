#include "base/atomic_file.h"
#include "tests/support/scoped_variable.h"
#include "tests/ui/views_fixture.h"
#include "ui/tray/tray_panel.h"

#include <QApplication>
#include <QMenu>

#include <chrono>
#include <thread>

namespace ravo::ui {
namespace {

using namespace testing_views;
using ravo::testing::ScopedVariable;
using ravo::testing::TemporaryFolder;

// What the user sees in a tray item's context menu.
QStringList shownEntries(const QMenu* menu) {
    QStringList entries;
    for (const QAction* action : menu->actions())
        if (action->isVisible() && !action->isSeparator())
            entries << action->text();
    return entries;
}

// The context menus of the tray items, as what each starts with ("Processor", "AI usage").
std::vector<std::pair<QString, QMenu*>> itemMenus() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::vector<std::pair<QString, QMenu*>> menus;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* menu = qobject_cast<QMenu*>(widget); menu && !menu->actions().empty())
            menus.emplace_back(menu->actions().front()->text(), menu);
    return menus;
}

// The metric items' menus, led by the metric's own title: all but AI usage's and websites'.
std::vector<QMenu*> metricMenus() {
    std::vector<QMenu*> menus;
    for (const auto& [first, menu] : itemMenus())
        if (first != "AI usage" && first != "Websites")
            menus.push_back(menu);
    return menus;
}

QAction* actionNamed(const QMenu* menu, const QString& text) {
    const QList<QAction*> actions = menu->actions();
    const auto found = std::ranges::find_if(
        actions, [&text](const QAction* action) { return action->text() == text; });
    return found == actions.end() ? nullptr : *found;
}

// Opens the menu as a click on the item would, and closes it again.
QStringList entriesOnOpening(QMenu* menu) {
    menu->popup(QPoint(900, 30));
    const QStringList entries = shownEntries(menu);
    menu->hide();
    return entries;
}

// A system folder of desktop entries, and a stand-in monitor that writes down how it was
// started.
class TrayMenuTest : public ViewsTest {
protected:
    TrayMenuTest() {
        std::filesystem::create_directories(applications);
        std::filesystem::create_directories(folder / "stand in");
        EXPECT_TRUE(writeFileAtomically(program,
                                        "#!/bin/sh\n"
                                        "printf '%s\\n' \"$@\" > \"$1.part\" && mv \"$1.part\" "
                                        "\"$1\"\n"));
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    void installStandIn() {
        ASSERT_TRUE(writeFileAtomically(applications / "org.gnome.SystemMonitor.desktop",
                                        "[Desktop Entry]\nType=Application\nName=System Monitor\n"
                                        "Exec=\"" +
                                            program.string() + "\" \"" + marker.string() +
                                            "\" --tab %U\n"));
    }

    // What the stand-in was started with, once it has written it down.
    std::optional<std::string> startedWith() const {
        for (int waited = 0; waited < 100; ++waited) {
            if (auto text = readFile(marker))
                return text;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return std::nullopt;
    }

    TemporaryFolder folder;
    std::filesystem::path applications = folder / "data" / "applications";
    std::filesystem::path program = folder / "stand in" / "monitor.sh";
    std::filesystem::path marker = folder / "started with";
    ScopedVariable dataDirs{"XDG_DATA_DIRS", (folder / "data").string()};
    ScopedVariable desktop{"XDG_CURRENT_DESKTOP", std::nullopt};
};

TEST_F(TrayMenuTest, MetricItemsOpenTheDesktopsSystemMonitor) {
    installStandIn();
    TrayPanel panel(controller->coordinators(), &settings);
    const auto menus = metricMenus();
    ASSERT_FALSE(menus.empty());
    for (QMenu* menu : menus)
        EXPECT_EQ(entriesOnOpening(menu).mid(1),
                  (QStringList{"AI usage", "Open System Monitor", "Settings…", "Quit Ravo"}))
            << shownEntries(menu).join(", ").toStdString();

    QAction* open = actionNamed(menus.back(), "Open System Monitor");
    ASSERT_TRUE(open);
    open->trigger();
    EXPECT_EQ(startedWith(), marker.string() + "\n--tab\n");
}

TEST_F(TrayMenuTest, TheCombinedItemOpensItToo) {
    installStandIn();
    settings.setValue(TrayPanel::kCombinedKey, true);
    TrayPanel panel(controller->coordinators(), &settings);
    std::vector<QMenu*> menus;
    for (const auto& [first, menu] : itemMenus())
        if (first == "AI usage")
            menus.push_back(menu);
    ASSERT_EQ(menus.size(), 1u);
    EXPECT_EQ(entriesOnOpening(menus.front()),
              (QStringList{"AI usage", "Open System Monitor", "Settings…", "Quit Ravo"}));
    EXPECT_TRUE(metricMenus().empty());
    QAction* open = actionNamed(menus.front(), "Open System Monitor");
    ASSERT_TRUE(open);
    open->trigger();
    EXPECT_EQ(startedWith(), marker.string() + "\n--tab\n");
}

TEST_F(TrayMenuTest, TheEntryComesAndGoesWithTheInstalledMonitor) {
    TrayPanel panel(controller->coordinators(), &settings);
    const auto menus = metricMenus();
    ASSERT_FALSE(menus.empty());
    for (QMenu* menu : menus)
        EXPECT_FALSE(entriesOnOpening(menu).contains("Open System Monitor"));

    installStandIn();
    EXPECT_TRUE(entriesOnOpening(menus.front()).contains("Open System Monitor"));
    std::filesystem::remove(applications / "org.gnome.SystemMonitor.desktop");
    EXPECT_FALSE(entriesOnOpening(menus.front()).contains("Open System Monitor"));
    EXPECT_FALSE(readFile(marker));
}

} // namespace
} // namespace ravo::ui
