#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "sync/settings_sync.h"
#include "sync/synced_settings_source.h"
#include "tests/support/temporary_folder.h"

#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <fstream>
#include <signal.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

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
    // The sync writes off the window's thread, so a read here can meet its lock: read again.
    std::optional<std::string> file() {
        for (;;) {
            auto text = SyncedFolder::read(shared);
            if (text.ok())
                return text.value();
            if (!SyncedFolder::isBusy(text.failure()))
                throw std::runtime_error(text.error());
            QTest::qWait(5);
        }
    }

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
    // Both go up in the same second: whichever file is there, neither side applies it.
    ASSERT_TRUE(QTest::qWaitFor([&] { return file().has_value(); }, 3000));
    QTest::qWait(1000);
    EXPECT_EQ(first.applied + laptop.applied, 0);
    EXPECT_FALSE(first.settings.desktopAlerts);
    EXPECT_TRUE(laptop.settings.tracksSessions);
    EXPECT_TRUE(laptop.settings.desktopAlerts);

    // The watchers were listening all along: a change a second later does arrive.
    first.now += std::chrono::seconds(1);
    first.change([](auto& s) { s.latencyMonitoring = false; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return laptop.applied == 1; }, 3000));
    EXPECT_FALSE(laptop.settings.latencyMonitoring);
    EXPECT_FALSE(laptop.settings.desktopAlerts);
}

TEST_F(SettingsSyncTest, ABrokenFileChangesNothingAndIsNotOverwritten) {
    std::filesystem::create_directories(shared / "Ravo");
    std::ofstream(SyncedFolder::settingsFile(shared)) << "{\"updatedAt\": \"half a fi";
    first.change([](auto& s) { s.connectionAlerts = false; });
    first.sync->start();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return first.sync->lastError() ==
                   "The synced settings file is not valid JSON and was left alone.";
        },
        3000));
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

std::string contents(const std::filesystem::path& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// What sits in the folder when a local change comes: the change goes up only over a file
// this Ravo can read, that is not newer than the change, and keeps what it does not know.
TEST_F(SettingsSyncTest, ALocalChangeNeverDestroysAFileItCannotOwn) {
    SyncedSettingsFile newerChange{first.now + 1h, "other", SyncedSettings::factoryDefaults()};
    newerChange.settings.tracksSessions = true;
    const std::string newerRavo =
        R"({"updatedAt": "2026-11-22T11:00:00Z", "deviceID": "x", "settings": {"version": 2}})";
    const struct {
        std::string file;
        std::optional<std::string> error; // nothing: the file is taken, not overwritten
    } cases[] = {
        {"{\"updatedAt\": \"half a fi",
         "The synced settings file is not valid JSON and was left alone."},
        {newerRavo, std::string(SyncedSettingsFile::kNewerText)},
        {newerChange.encode(), std::nullopt},
    };
    for (const auto& [text, error] : cases) {
        testing::TemporaryFolder place;
        const auto folderHere = place / "Shared";
        std::filesystem::create_directories(folderHere / "Ravo");
        Computer computer(place.path(), folderHere);
        computer.sync->start();
        std::ofstream(SyncedFolder::settingsFile(folderHere)) << text;
        computer.change([](auto& s) { s.desktopAlerts = false; });
        if (error) {
            ASSERT_TRUE(QTest::qWaitFor([&] { return computer.sync->lastError() == error; }, 3000))
                << text;
            EXPECT_EQ(contents(SyncedFolder::settingsFile(folderHere)), text);
            EXPECT_FALSE(computer.settings.desktopAlerts);
        } else {
            // Newer than the change: taken instead of being overwritten by older settings.
            ASSERT_TRUE(QTest::qWaitFor([&] { return computer.applied == 1; }, 3000));
            EXPECT_TRUE(computer.settings.tracksSessions);
            EXPECT_EQ(contents(SyncedFolder::settingsFile(folderHere)), text);
        }
    }
}

TEST_F(SettingsSyncTest, KeysOfANewerRavoSurviveAnOlderOnesChange) {
    std::filesystem::create_directories(shared / "Ravo");
    std::ofstream(SyncedFolder::settingsFile(shared))
        << R"({"updatedAt": "2026-11-22T10:00:00Z", "deviceID": "x", "note": "kept",
              "settings": {"version": 1, "metricOrder": ["cpu"], "enabledMetrics": ["cpu"],
                           "desktopAlerts": true, "connectionAlerts": true,
                           "latencyMonitoring": true, "tracksSessions": false,
                           "panelColour": "teal"}})";
    first.sync->start();
    first.change([](auto& s) { s.connectionAlerts = false; });
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return file()->find("\"connectionAlerts\": false") != std::string::npos; }, 3000));
    EXPECT_NE(file()->find("\"panelColour\": \"teal\""), std::string::npos) << *file();
    EXPECT_NE(file()->find("\"note\": \"kept\""), std::string::npos);
}

TEST_F(SettingsSyncTest, QuittingRightAfterAChangeStillSendsIt) {
    first.sync->start();
    first.change([](auto& s) { s.latencyMonitoring = false; });
    first.sync->stop(); // well within the upload delay
    ASSERT_TRUE(file().has_value());
    EXPECT_NE(file()->find("\"latencyMonitoring\": false"), std::string::npos);
}

// flock(1) holding the folder's lock, as another Ravo or a script would; let go when this is.
struct LockHolder {
    explicit LockHolder(const std::filesystem::path& lockFile) {
        pid = fork();
        if (pid == 0) {
            setpgid(0, 0);
            execlp("flock", "flock", "-o", lockFile.c_str(), "sleep", "30",
                   static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~LockHolder() { release(); }
    void release() {
        if (pid <= 0)
            return;
        kill(-pid, SIGTERM);
        waitpid(pid, nullptr, 0);
        pid = -1;
    }
    pid_t pid = -1;
};

TEST_F(SettingsSyncTest, AFolderLockedElsewhereIsTriedAgainNotWaitedFor) {
    const SyncedSettingsFile older{first.now - 1h, "other", SyncedSettings::factoryDefaults()};
    ASSERT_TRUE(SyncedFolder::write(shared, older.encode()).ok());
    LockHolder holder(shared / "Ravo" / ".settings.json.lock");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !SyncedFolder::read(shared).ok(); }, 3000));
    first.sync->start();
    const auto before = std::chrono::steady_clock::now();
    first.change([](auto& s) { s.desktopAlerts = false; });
    QTest::qWait(800); // the upload came due while the lock was held
    EXPECT_LT(std::chrono::steady_clock::now() - before, 2s) << "the event loop was held up";
    holder.release();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const auto now = SyncedFolder::read(shared);
            return now.ok() && *now &&
                   (*now)->find("\"desktopAlerts\": false") != std::string::npos;
        },
        3000));
    EXPECT_EQ(first.sync->lastError(), std::nullopt);
}

} // namespace
} // namespace ravo::sync
