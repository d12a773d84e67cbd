#include "base/atomic_file.h"
#include "common/platform/linux/xdg_system_monitor_app.h"
#include "tests/support/scoped_variable.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

namespace ravo::common {
namespace {

namespace fs = std::filesystem;
using ravo::testing::ScopedVariable;
using ravo::testing::TemporaryFolder;
using ravo::testing::TemporaryHome;

// A data home and two data dirs, each with its "applications" folder, and a PATH folder.
class DesktopEntryFolders : public ::testing::Test {
protected:
    DesktopEntryFolders() {
        for (const fs::path& folder : {home(), first(), second(), programs()})
            fs::create_directories(folder);
    }

    fs::path home() const { return root / "home-data" / "applications"; }
    fs::path first() const { return root / "data-1" / "applications"; }
    fs::path second() const { return root / "data-2" / "applications"; }
    fs::path programs() const { return root / "bin"; }
    DesktopSearchPlaces places() const { return {{home(), first(), second()}, {programs()}}; }

    static void write(const fs::path& file, const std::string& text) {
        ASSERT_TRUE(writeFileAtomically(file, text));
    }
    static void entry(const fs::path& folder, const std::string& name, const std::string& exec,
                      const std::string& more = {}) {
        write(folder / name,
              "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" + more);
    }
    void program(const std::string& name, fs::perms mode = fs::perms::owner_all) const {
        write(programs() / name, "#!/bin/sh\n");
        fs::permissions(programs() / name, mode);
    }
    Result<InstalledApplication> lookUp(std::string_view name) const {
        const auto file = findDesktopEntryFile(places(), name);
        if (!file)
            return Failure{"no such entry"};
        return readInstalledApplication(places(), *file);
    }
    std::optional<InstalledApplication> found(const std::string& currentDesktops = {}) const {
        return XdgSystemMonitorApp([this] { return places(); }, currentDesktops).find();
    }

    TemporaryFolder root;
};

TEST_F(DesktopEntryFolders, TheFirstFolderWithTheEntryDecides) {
    entry(second(), "org.gnome.SystemMonitor.desktop", "from-second");
    entry(first(), "org.gnome.SystemMonitor.desktop", "from-first %U");
    auto app = lookUp("org.gnome.SystemMonitor.desktop");
    ASSERT_TRUE(app) << app.error();
    EXPECT_EQ(*app, (InstalledApplication{first() / "org.gnome.SystemMonitor.desktop",
                                          "org.gnome.SystemMonitor.desktop",
                                          {"from-first"}}));

    // The user's own copy wins over the system's.
    entry(home(), "org.gnome.SystemMonitor.desktop", "\"/home/me/my monitor\" --tab=1");
    app = lookUp("org.gnome.SystemMonitor.desktop");
    ASSERT_TRUE(app) << app.error();
    EXPECT_EQ(app->command, (std::vector<std::string>{"/home/me/my monitor", "--tab=1"}));

    // Hidden=true in the user's folder removes the system's copy too.
    write(home() / "org.gnome.SystemMonitor.desktop", "[Desktop Entry]\nHidden=true\n");
    app = lookUp("org.gnome.SystemMonitor.desktop");
    ASSERT_FALSE(app);
    EXPECT_EQ(app.error(), (home() / "org.gnome.SystemMonitor.desktop").string() + " is hidden");
    EXPECT_EQ(found(), std::nullopt);

    EXPECT_EQ(findDesktopEntryFile(places(), "org.kde.ksysguard.desktop"), std::nullopt);
}

TEST_F(DesktopEntryFolders, TryExecMustNameAProgramThatIsThere) {
    const std::string name = "xfce4-taskmanager.desktop";
    entry(first(), name, "xfce4-taskmanager", "TryExec=ravo-test-task-manager\n");
    EXPECT_FALSE(lookUp(name));
    EXPECT_EQ(found(), std::nullopt);

    // A file that may not be run is not a program.
    program("ravo-test-task-manager", fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(lookUp(name).error(),
              (first() / name).string() + ": ravo-test-task-manager is not installed");

    program("ravo-test-task-manager");
    ASSERT_TRUE(lookUp(name));
    ASSERT_TRUE(found());
    EXPECT_EQ(found()->entryFile, first() / name);

    // An absolute TryExec is that file, not one on PATH.
    entry(first(), name, "xfce4-taskmanager", "TryExec=" + (root / "nowhere").string() + "\n");
    EXPECT_FALSE(lookUp(name));
    entry(first(), name, "xfce4-taskmanager",
          "TryExec=" + (programs() / "ravo-test-task-manager").string() + "\n");
    EXPECT_TRUE(lookUp(name));
    // A folder is no program either.
    entry(first(), name, "xfce4-taskmanager", "TryExec=" + programs().string() + "\n");
    EXPECT_FALSE(lookUp(name));
}

TEST_F(DesktopEntryFolders, AnEntryThatCannotBeStartedGivesWayToTheNext) {
    write(first() / "gnome-system-monitor.desktop", "Name=No group\nExec=monitor\n");
    write(first() / "org.gnome.SystemMonitor.desktop", "[Desktop Entry]\nName=No Exec\n");
    entry(first(), "org.kde.plasma-systemmonitor.desktop", "\"plasma-systemmonitor");
    fs::create_directories(first() / "org.kde.ksysguard.desktop");
    EXPECT_EQ(lookUp("gnome-system-monitor.desktop").error(),
              (first() / "gnome-system-monitor.desktop").string() + ": No [Desktop Entry] group");
    EXPECT_EQ(lookUp("org.gnome.SystemMonitor.desktop").error(),
              (first() / "org.gnome.SystemMonitor.desktop").string() + " has no Exec");
    EXPECT_EQ(lookUp("org.kde.plasma-systemmonitor.desktop").error(),
              (first() / "org.kde.plasma-systemmonitor.desktop").string() +
                  ": Exec has a quote that is not closed");
    EXPECT_EQ(lookUp("org.kde.ksysguard.desktop").error(),
              (first() / "org.kde.ksysguard.desktop").string() + " is not a file");
    EXPECT_EQ(found(), std::nullopt);

    entry(second(), "org.xfce.taskmanager.desktop", "xfce4-taskmanager");
    ASSERT_TRUE(found());
    EXPECT_EQ(found()->command, std::vector<std::string>{"xfce4-taskmanager"});
}

TEST_F(DesktopEntryFolders, TheCurrentDesktopsOwnMonitorComesFirst) {
    entry(second(), "org.gnome.SystemMonitor.desktop", "gnome");
    entry(second(), "org.kde.ksysguard.desktop", "ksysguard");
    entry(first(), "org.xfce.taskmanager.desktop", "xfce");
    const std::pair<const char*, const char*> cases[] = {
        {"", "gnome"},
        {"ubuntu:GNOME", "gnome"},
        {"KDE", "ksysguard"},
        {"xfce", "xfce"},
        {"XFCE:GNOME", "xfce"},
        {"X-Cinnamon", "gnome"},
        {"GNOME-Flashback", "gnome"},
    };
    for (const auto& [desktops, program] : cases) {
        const auto app = found(desktops);
        ASSERT_TRUE(app) << desktops;
        EXPECT_EQ(app->command.front(), program) << desktops;
    }
    // Plasma's newer monitor before KSysGuard, both before the others.
    EXPECT_EQ(XdgSystemMonitorApp::entryNamesFor("KDE"),
              (std::vector<std::string_view>{
                  "org.kde.plasma-systemmonitor.desktop", "org.kde.ksysguard.desktop",
                  "gnome-system-monitor.desktop", "org.gnome.SystemMonitor.desktop",
                  "xfce4-taskmanager.desktop", "org.xfce.taskmanager.desktop"}));
}

TEST(DesktopSearchPlaces, FollowTheXdgVariablesAndTheirDefaults) {
    TemporaryHome home;
    const fs::path localApplications = home.path() / ".local" / "share" / "applications";
    {
        ScopedVariable dataDirs("XDG_DATA_DIRS", std::nullopt);
        ScopedVariable path("PATH", "/opt/a/bin:relative/bin::/usr/bin");
        EXPECT_EQ(DesktopSearchPlaces::fromEnvironment(),
                  (DesktopSearchPlaces{{localApplications, "/usr/local/share/applications",
                                        "/usr/share/applications"},
                                       {"/opt/a/bin", "/usr/bin"}}));
    }
    ScopedVariable dataHome("XDG_DATA_HOME", (home.path() / "data").string());
    ScopedVariable dataDirs("XDG_DATA_DIRS", "/srv/one::relative:/srv/two/");
    ScopedVariable path("PATH", std::nullopt);
    EXPECT_EQ(DesktopSearchPlaces::fromEnvironment(),
              (DesktopSearchPlaces{{home.path() / "data" / "applications", "/srv/one/applications",
                                    "/srv/two/applications"},
                                   {}}));
}

} // namespace
} // namespace ravo::common
