#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "sync/settings_sync.h"
#include "sync/synced_settings_source.h"
#include "tests/support/temporary_folder.h"

#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <fstream>

namespace ravo::sync {
namespace {

using namespace std::chrono_literals;

// One computer: its settings, and the sync between them and the shared folder.
struct Computer final : SyncedSettingsSource {
    Computer(const std::filesystem::path& home, const std::filesystem::path& shared)
        : defaults(QString::fromStdString((home / "ravo.conf").string()), QSettings::IniFormat) {
        defaults.setValue(SettingsSync::kEnabledKey, true);
        defaults.setValue(SettingsSync::kFolderKey, QString::fromStdString(shared.string()));
        sync = std::make_unique<SettingsSync>(
            defaults, this, SettingsSync::Options{200ms, 60'000ms, [this] { return now; }});
    }
    SyncedSettings syncedSettings() const override { return settings; }
    void applySyncedSettings(const SyncedSettings& received) override {
        settings = received;
        ++applied;
        sync->sourceChanged(); // as the owners' signals would
    }
    void change(const std::function<void(SyncedSettings&)>& edit) {
        edit(settings);
        sync->sourceChanged();
    }

    QSettings defaults;
    SyncedSettings settings = SyncedSettings::factoryDefaults();
    TimePoint now = *parseIso8601("2026-11-22T12:00:00Z");
    int applied = 0;
    std::unique_ptr<SettingsSync> sync;
};

class SettingsSyncTest : public ::testing::Test {
protected:
    SettingsSyncTest() { std::filesystem::create_directories(shared); }
    std::optional<std::string> file() { return SyncedFolder::read(shared).value(); }

    testing::TemporaryFolder folder;
    std::filesystem::path shared = folder / "Nextcloud";
    Computer first{folder.path(), shared};
};

TEST_F(SettingsSyncTest, AChangeOnOneComputerArrivesOnTheOther) {
    std::filesystem::create_directories(folder / "b");
    Computer laptop(folder / "b", shared);
    first.sync->start();
    laptop.sync->start();
    QTest::qWait(400);
    EXPECT_EQ(file(), std::nullopt) << "nothing was changed, so nothing is written";

    // Three changes in a burst go up once, two seconds (here 200 ms) after the last.
    first.change([](auto& s) { s.connectionAlerts = false; });
    first.change([](auto& s) { s.enabledMetrics = {"cpu"}; });
    first.change([](auto& s) { s.latencyMonitoring = false; });
    EXPECT_EQ(file(), std::nullopt);
    ASSERT_TRUE(QTest::qWaitFor([&] { return file().has_value(); }, 3000));
    ASSERT_TRUE(QTest::qWaitFor([&] { return laptop.settings == first.settings; }, 3000))
        << "the watcher did not bring the file in";
    EXPECT_EQ(laptop.applied, 1);
    // Applying is not a change of the laptop's own: nothing goes back up.
    EXPECT_FALSE(laptop.defaults.contains(SettingsSync::kChangedAtKey));
    EXPECT_NE(file()->find(first.sync->deviceID()), std::string::npos);
    EXPECT_TRUE(first.sync->lastSynced().has_value());
    EXPECT_EQ(laptop.sync->lastError(), std::nullopt);
}

TEST_F(SettingsSyncTest, TheSameSecondOnBothSidesChangesNothing) {
    std::filesystem::create_directories(folder / "b");
    Computer laptop(folder / "b", shared);
    first.sync->start();
    laptop.sync->start();
    first.change([](auto& s) { s.desktopAlerts = false; });
    laptop.change([](auto& s) { s.tracksSessions = true; });
    QTest::qWait(1000);
    // Both went up in the same second: whichever file is there, neither side applies it.
    EXPECT_EQ(first.applied + laptop.applied, 0);
    EXPECT_FALSE(first.settings.desktopAlerts);
    EXPECT_TRUE(laptop.settings.tracksSessions);
    EXPECT_TRUE(laptop.settings.desktopAlerts);
}

TEST_F(SettingsSyncTest, ABrokenFileChangesNothingAndIsNotOverwritten) {
    std::filesystem::create_directories(shared / "Ravo");
    std::ofstream(SyncedFolder::settingsFile(shared)) << "{\"updatedAt\": \"half a fi";
    first.change([](auto& s) { s.connectionAlerts = false; });
    first.sync->start();
    EXPECT_EQ(first.sync->lastError(),
              "The synced settings file is not valid JSON and was left alone.");
    QTest::qWait(400);
    EXPECT_EQ(file(), "{\"updatedAt\": \"half a fi");
    EXPECT_FALSE(first.settings.connectionAlerts);
    EXPECT_EQ(first.applied, 0);

    // The sync client finishes its write: the next look takes it, and the error goes.
    SyncedSettingsFile newer{first.now + 1h, "other", SyncedSettings::factoryDefaults()};
    ASSERT_TRUE(SyncedFolder::write(shared, newer.encode()).ok());
    ASSERT_TRUE(QTest::qWaitFor([&] { return first.applied == 1; }, 3000));
    EXPECT_TRUE(first.settings.connectionAlerts);
    EXPECT_EQ(first.sync->lastError(), std::nullopt);
}

} // namespace
} // namespace ravo::sync
