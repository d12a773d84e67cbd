#include "sync/core/settings_sync_policy.h"
#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace ravo::sync {
namespace {

using Action = SettingsSyncPolicy::Action;

TimePoint at(const char* iso) {
    return *parseIso8601(iso);
}

TEST(SettingsSyncPolicy, DecidesByTheFilesDateAgainstTheLastLocalChange) {
    const SyncedSettings local = SyncedSettings::factoryDefaults();
    SyncedSettings other = local;
    other.connectionAlerts = false;
    const auto file = [&](const char* date, const SyncedSettings& settings) {
        return std::optional(SyncedSettingsFile{at(date), "other", settings});
    };
    const auto noon = std::optional(at("2026-11-22T12:00:00Z"));
    struct Case {
        std::optional<TimePoint> changedAt;
        std::optional<SyncedSettingsFile> remote;
        Action expected;
    };
    const std::vector<Case> cases = {
        {std::nullopt, std::nullopt, Action::nothing}, // never changed, no file: nothing written
        {noon, std::nullopt, Action::upload},
        {noon, file("2026-11-22T13:00:00Z", local), Action::nothing}, // same settings
        {std::nullopt, file("2026-11-22T11:00:00Z", other), Action::apply},
        {noon, file("2026-11-22T12:00:01Z", other), Action::apply},
        {noon, file("2026-11-22T11:59:59Z", other), Action::upload},
        {noon, file("2026-11-22T12:00:00Z", other), Action::nothing}, // same second: a tie
    };
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(SettingsSyncPolicy::decide(local, cases[i].changedAt, cases[i].remote),
                  cases[i].expected)
            << "case " << i;
}

TEST(SyncedSettingsFile, IsWrittenSortedAndReadBackAndRefusesWhatIsNotOurs) {
    SyncedSettingsFile file{at("2026-11-22T12:00:00Z"), "4f1c", SyncedSettings::factoryDefaults()};
    file.settings.enabledMetrics = {"cpu", "network"};
    const std::string text = file.encode();
    EXPECT_LT(text.find("\"deviceID\""), text.find("\"settings\""));
    EXPECT_LT(text.find("\"settings\""), text.find("\"updatedAt\""));
    EXPECT_NE(text.find("\"updatedAt\": \"2026-11-22T12:00:00Z\""), std::string::npos) << text;
    const TimePoint now = at("2026-11-22T12:30:00Z");
    EXPECT_EQ(SyncedSettingsFile::decode(text, now).value(), file);

    // The file with one key of its settings (or, with an empty pointer, of itself) changed.
    auto changed = [&](const char* pointer, nlohmann::json value) {
        nlohmann::json json = nlohmann::json::parse(text);
        json[nlohmann::json::json_pointer(pointer)] = std::move(value);
        return json.dump();
    };
    const std::vector<std::pair<std::string, std::string>> refused = {
        {"not json", "The synced settings file is not valid JSON and was left alone."},
        {"[]", "The synced settings file is not Ravo's and was left alone."},
        {changed("/settings/desktopAlerts", "yes"),
         "The synced settings file is not Ravo's and was left alone."},
        {changed("/settings/enabledMetrics", {"cpu", "fan"}),
         "The synced settings file is not Ravo's and was left alone."},
        {changed("/settings/version", 2), std::string(SyncedSettingsFile::kNewerText)},
        // A newer format is known by its version even when its keys are all different.
        {R"({"updatedAt": "2026-11-22T12:00:00Z", "deviceID": "x",
             "settings": {"version": 7, "panels": []}})",
         std::string(SyncedSettingsFile::kNewerText)},
        {changed("/updatedAt", "2026-11-24T12:00:00Z"),
         "The synced settings file is dated in the future and was left alone."},
    };
    for (const auto& [input, error] : refused)
        EXPECT_EQ(SyncedSettingsFile::decode(input, now).error(), error) << input;
    // Keys it does not know are no reason to refuse it.
    EXPECT_TRUE(SyncedSettingsFile::decode(changed("/settings/futureSwitch", true), now).ok());
}

TEST(SyncedFolder, ReadsAndReplacesOnlyTheFileOfItsName) {
    testing::TemporaryFolder folder;
    EXPECT_EQ(SyncedFolder::read(folder.path()).value(), std::nullopt);
    EXPECT_FALSE(SyncedFolder::read(folder / "gone").ok());
    ASSERT_TRUE(SyncedFolder::write(folder.path(), "first\n").ok());
    // A sync client's conflict copy beside it is neither read nor removed.
    const auto conflict = folder / "Ravo/settings.sync-conflict-20261122-120000-ABCDEFG.json";
    std::ofstream(conflict) << "theirs";
    ASSERT_TRUE(SyncedFolder::write(folder.path(), "second\n").ok());
    EXPECT_EQ(SyncedFolder::read(folder.path()).value(), "second\n");
    EXPECT_TRUE(std::filesystem::exists(conflict));
    EXPECT_FALSE(SyncedFolder::write(folder / "gone", "x").ok());

    std::filesystem::create_directories(folder / "home/Nextcloud");
    std::filesystem::create_directories(folder / "home/Documents");
    EXPECT_EQ(SyncedFolder::candidates(folder / "home"),
              std::vector<std::filesystem::path>{folder / "home/Nextcloud"});
}

TEST(SyncedSettingsFile, KeysOfANewerRavoSurviveAChange) {
    SyncedSettingsFile file{at("2026-11-22T12:00:00Z"), "4f1c", SyncedSettings::factoryDefaults()};
    const std::string kept =
        R"({"updatedAt": "2026-11-21T12:00:00Z", "deviceID": "old", "comment": "hi",
            "settings": {"version": 1, "desktopAlerts": true, "panelColour": "teal"}})";
    file.settings.desktopAlerts = false;
    const auto written = nlohmann::json::parse(file.encode(kept));
    EXPECT_EQ(written["comment"], "hi");
    EXPECT_EQ(written["settings"]["panelColour"], "teal");
    EXPECT_EQ(written["settings"]["desktopAlerts"], false);
    EXPECT_EQ(written["deviceID"], "4f1c");
    EXPECT_EQ(SyncedSettingsFile::decode(file.encode(kept), at("2026-11-22T13:00:00Z")).value(),
              file);
}

// The sync folder is often shared with other people: what they put at the file's name is
// refused, never followed, never waited on, and nothing outside the folder changes.
class HostileSyncFolder : public ::testing::Test {
protected:
    HostileSyncFolder() { std::filesystem::create_directories(shared / "Ravo"); }
    std::string outsideText() {
        std::ifstream in(outside);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    testing::TemporaryFolder folder;
    std::filesystem::path shared = folder / "Shared";
    std::filesystem::path outside = folder / "mine.txt";
    std::filesystem::path file = SyncedFolder::settingsFile(shared);
};

TEST_F(HostileSyncFolder, ALinkAtTheNameIsRefusedAndItsTargetUntouched) {
    std::ofstream(outside) << "my own file";
    std::filesystem::create_symlink(outside, file);
    EXPECT_NE(SyncedFolder::read(shared).error().find("not a plain file"), std::string::npos);
    EXPECT_NE(SyncedFolder::write(shared, "{}").error().find("not a plain file"),
              std::string::npos);
    EXPECT_EQ(outsideText(), "my own file");
    EXPECT_TRUE(std::filesystem::is_symlink(file));

    // The folder itself a link elsewhere: nothing is written there either.
    std::filesystem::remove_all(shared / "Ravo");
    std::filesystem::create_directories(folder / "elsewhere");
    std::filesystem::create_directory_symlink(folder / "elsewhere", shared / "Ravo");
    EXPECT_FALSE(SyncedFolder::write(shared, "{}").ok());
    EXPECT_TRUE(std::filesystem::is_empty(folder / "elsewhere"));
}

TEST_F(HostileSyncFolder, APipeIsRefusedAtOnce) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_NE(SyncedFolder::read(shared).error().find("not a plain file"), std::string::npos);
    EXPECT_FALSE(SyncedFolder::write(shared, "{}").ok());
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(2));
}

TEST_F(HostileSyncFolder, ALockAnotherProgramHoldsIsBusyNotAWait) {
    std::ofstream(file) << "{}";
    // A real holder: flock(1) keeps the lock while its child sleeps (-o: only flock holds it,
    // so ending flock ends the lock).
    const std::string lockFile = (shared / "Ravo" / ".settings.json.lock").string();
    const pid_t holder = fork();
    if (holder == 0) {
        setpgid(0, 0);
        execlp("flock", "flock", "-o", lockFile.c_str(), "sleep", "5", static_cast<char*>(nullptr));
        _exit(127);
    }
    for (int i = 0; i < 50 && SyncedFolder::read(shared).ok(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto busy = SyncedFolder::read(shared);
    ASSERT_FALSE(busy.ok());
    EXPECT_TRUE(SyncedFolder::isBusy(busy.failure())) << busy.error();
    EXPECT_TRUE(SyncedFolder::isBusy(SyncedFolder::write(shared, "[]").failure()));
    kill(-holder, SIGTERM);
    waitpid(holder, nullptr, 0);
    for (int i = 0; i < 50 && !SyncedFolder::read(shared).ok(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(SyncedFolder::read(shared).value(), "{}");
}

} // namespace
} // namespace ravo::sync
