#include "base/atomic_file.h"
#include "base/json_config_file.h"
#include "sessions/core/hook_installer.h"
#include "tests/support/temporary_folder.h"
#include "usage/core/status_line_config.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ravo::sessions {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Change = HookInstaller::StatusLineChange;

class StatusLineInstallTest : public ::testing::Test {
protected:
    fs::path settingsPath() const { return home.path() / ".claude" / "settings.json"; }
    fs::path chainPath() const { return home.container() / "claude-statusline-previous.json"; }
    void writeSettings(const std::string& text) {
        fs::create_directories(settingsPath().parent_path());
        ASSERT_TRUE(writeFileAtomically(settingsPath(), text).ok());
    }
    json settings() const { return json::parse(*readFile(settingsPath())); }

    ravo::testing::TemporaryHome home;
    HookInstaller installer{home.path(), "/opt/Ravo/bin/ravo-hook"};
};

TEST_F(StatusLineInstallTest, AddsItsEntryWhereThereWasNone) {
    writeSettings(R"({"model":"opus","env":{"A":"1"}})");
    EXPECT_EQ(installer.installStatusLine().value(), Change::installed);
    const auto s = settings();
    EXPECT_EQ(s["statusLine"],
              (json{{"type", "command"}, {"command", "'/opt/Ravo/bin/ravo-hook' statusline"}}));
    EXPECT_EQ(s["model"], "opus");
    EXPECT_EQ(s["env"]["A"], "1");
    EXPECT_FALSE(fs::exists(chainPath()));
    EXPECT_TRUE(installer.isStatusLineCurrent());
    EXPECT_FALSE(HookInstaller(home.path(), "/elsewhere/ravo-hook").isStatusLineCurrent());
}

TEST_F(StatusLineInstallTest, KeepsTheUsersOwnStatusLineAndPutsItBack) {
    const json own = {{"type", "command"}, {"command", "~/bin/my-line.sh"}, {"padding", 2}};
    writeSettings(json{{"statusLine", own}}.dump());
    EXPECT_EQ(installer.installStatusLine().value(), Change::installedChaining);
    EXPECT_EQ(settings()["statusLine"]["padding"], 2);
    EXPECT_EQ(settings()["statusLine"]["command"], "'/opt/Ravo/bin/ravo-hook' statusline");
    EXPECT_EQ(json::parse(*readFile(chainPath())), own);

    // Installing again must not save Ravo's own entry over the user's.
    EXPECT_EQ(installer.installStatusLine().value(), Change::refreshed);
    EXPECT_EQ(json::parse(*readFile(chainPath())), own);

    EXPECT_EQ(installer.uninstallStatusLine().value(), Change::restored);
    EXPECT_EQ(settings()["statusLine"], own);
    EXPECT_FALSE(fs::exists(chainPath()));
}

TEST_F(StatusLineInstallTest, UninstallLeavesAnEntryTheUserChangedSince) {
    writeSettings(R"({"statusLine":{"type":"command","command":"old.sh"}})");
    ASSERT_TRUE(installer.installStatusLine().ok());
    auto changed = settings();
    changed["statusLine"]["command"] = "newer.sh";
    writeSettings(changed.dump());
    EXPECT_EQ(installer.uninstallStatusLine().value(), Change::leftUsersOwn);
    EXPECT_EQ(settings()["statusLine"]["command"], "newer.sh");
    EXPECT_FALSE(fs::exists(chainPath()));
}

TEST_F(StatusLineInstallTest, UninstallWithoutAChainRemovesTheKey) {
    writeSettings(R"({"theme":"dark"})");
    ASSERT_TRUE(installer.installStatusLine().ok());
    EXPECT_EQ(installer.uninstallStatusLine().value(), Change::removed);
    EXPECT_EQ(settings(), json::parse(R"({"theme":"dark"})"));
}

TEST_F(StatusLineInstallTest, QuotesAHelperPathWithASingleQuote) {
    const HookInstaller odd(home.path(), "/Users/o'brien/Ravo/ravo-hook");
    EXPECT_EQ(usage::StatusLineConfig::command(odd.helperPath()),
              R"('/Users/o'\''brien/Ravo/ravo-hook' statusline)");
    ASSERT_TRUE(odd.installStatusLine().ok());
    EXPECT_TRUE(usage::StatusLineConfig::isRavo(settings()["statusLine"]));
    EXPECT_TRUE(odd.isStatusLineCurrent());
}

TEST_F(StatusLineInstallTest, BrokenSettingsAreReportedAndLeftByteForByte) {
    for (const char* broken : {R"({"statusLine": {"type": "command",)", "[1, 2]", "\"text\""}) {
        writeSettings(broken);
        const auto result = installer.installStatusLine();
        ASSERT_FALSE(result.ok()) << broken;
        EXPECT_NE(result.error().find("settings.json"), std::string::npos);
        EXPECT_EQ(readFile(settingsPath()), broken);
        EXPECT_FALSE(installer.uninstallStatusLine().ok());
        EXPECT_EQ(readFile(settingsPath()), broken);
        EXPECT_FALSE(fs::exists(JsonConfigFile::backupPath(settingsPath())));
    }
}

TEST_F(StatusLineInstallTest, BacksUpTheOriginalOnceAndKeepsPermissions) {
    writeSettings(R"({"first": true})");
    ::chmod(settingsPath().c_str(), 0600);
    ASSERT_TRUE(installer.installStatusLine().ok());
    ASSERT_TRUE(installer.uninstallStatusLine().ok());
    ASSERT_TRUE(installer.installStatusLine().ok());
    EXPECT_EQ(readFile(JsonConfigFile::backupPath(settingsPath())), R"({"first": true})");
    struct stat info {};
    ::stat(settingsPath().c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(StatusLineInstallTest, MissingSettingsFileIsCreated) {
    ASSERT_TRUE(installer.installStatusLine().ok());
    EXPECT_TRUE(installer.isStatusLineCurrent());
    struct stat info {};
    ::stat(settingsPath().c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

} // namespace
} // namespace ravo::sessions
