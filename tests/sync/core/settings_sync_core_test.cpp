#include "sync/core/settings_sync_policy.h"
#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

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
        {changed("/settings/version", 2),
         "The synced settings come from a newer Ravo; update Ravo to use them."},
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

} // namespace
} // namespace ravo::sync
