#include "base/atomic_file.h"
#include "base/json_config_file.h"
#include "sessions/core/hook_installer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ravo::sessions {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using usage::Provider;

class HookInstallerTest : public ::testing::Test {
protected:
    HookInstallerTest() {
        fs::create_directories(home.path() / ".claude");
        fs::create_directories(home.path() / ".codex");
    }
    fs::path claudeFile() const { return home.path() / ".claude" / "settings.json"; }
    fs::path codexFile() const { return home.path() / ".codex" / "hooks.json"; }
    json read(const fs::path& file) const { return json::parse(*readFile(file)); }
    static mode_t modeOf(const fs::path& path) {
        struct stat info {};
        ::stat(path.c_str(), &info);
        return info.st_mode & 0777;
    }

    testing::TemporaryHome home;
    HookInstaller installer{home.path(), "/opt/Ravo/bin/ravo-hook"};
};

TEST_F(HookInstallerTest, InstallsIntoBothAgentsAndRemovesAgain) {
    const std::string users =
        R"json({"permissions":{"allow":["Bash(ls)"]},"hooks":{"Stop":[{"matcher":"","hooks":[{"type":"command","command":"say done"}]}]}})json";
    ASSERT_TRUE(writeFileAtomically(claudeFile(), users).ok());
    const auto handled = installer.install();
    ASSERT_TRUE(handled.ok());
    EXPECT_EQ(handled.value(), (std::vector<Provider>{Provider::claude, Provider::codex}));
    EXPECT_EQ(read(claudeFile())["hooks"].size(), 5u);
    EXPECT_EQ(read(codexFile())["hooks"]["PermissionRequest"][0]["hooks"][0]["command"],
              "'/opt/Ravo/bin/ravo-hook' codex");
    EXPECT_EQ(modeOf(codexFile()), 0600u);
    EXPECT_TRUE(installer.isInstalled());
    EXPECT_EQ(installer.installedProviders(),
              (std::set<Provider>{Provider::claude, Provider::codex}));

    ASSERT_TRUE(installer.uninstall().ok());
    EXPECT_EQ(read(claudeFile()), json::parse(users));
    EXPECT_EQ(read(codexFile()), json::object());
    EXPECT_FALSE(installer.isInstalled());
    EXPECT_EQ(readFile(JsonConfigFile::backupPath(claudeFile())), users);
}

TEST_F(HookInstallerTest, AgentsThatAreNotInstalledGetNoFile) {
    fs::remove_all(home.path() / ".codex");
    ASSERT_TRUE(installer.install().ok());
    EXPECT_FALSE(fs::exists(codexFile()));
    EXPECT_EQ(installer.installedProviders(), std::set<Provider>{Provider::claude});
}

TEST_F(HookInstallerTest, ABrokenFileStopsTheInstallAndStaysByteForByte) {
    const std::string broken = "{\"hooks\": {\"Stop\": [}";
    ASSERT_TRUE(writeFileAtomically(codexFile(), broken).ok());
    const auto result = installer.install();
    ASSERT_FALSE(result.ok());
    EXPECT_NE(result.error().find("hooks.json"), std::string::npos);
    EXPECT_EQ(readFile(codexFile()), broken);
    EXPECT_FALSE(fs::exists(JsonConfigFile::backupPath(codexFile())));
    EXPECT_FALSE(installer.uninstall().ok());
    EXPECT_EQ(readFile(codexFile()), broken);

    ASSERT_TRUE(writeFileAtomically(codexFile(), "[]").ok());
    EXPECT_FALSE(installer.install().ok());
    EXPECT_EQ(readFile(codexFile()), "[]");
}

TEST_F(HookInstallerTest, TheBackupIsTheOriginalAndIsMadeOnce) {
    ASSERT_TRUE(writeFileAtomically(claudeFile(), R"({"v":1})").ok());
    ::chmod(claudeFile().c_str(), 0640);
    ASSERT_TRUE(installer.install().ok());
    ASSERT_TRUE(installer.install().ok());
    EXPECT_EQ(readFile(JsonConfigFile::backupPath(claudeFile())), R"({"v":1})");
    EXPECT_EQ(modeOf(claudeFile()), 0640u);
}

TEST_F(HookInstallerTest, ReconcileRewritesOnlyWhatChanged) {
    ASSERT_TRUE(installer.install().ok());
    struct stat before {};
    ::stat(claudeFile().c_str(), &before);
    EXPECT_TRUE(installer.reconcile().value().empty());
    struct stat after {};
    ::stat(claudeFile().c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino); // not replaced

    const HookInstaller moved(home.path(), "/new/place/ravo-hook");
    EXPECT_EQ(moved.reconcile().value(),
              (std::vector<Provider>{Provider::claude, Provider::codex}));
    EXPECT_EQ(read(claudeFile())["hooks"]["Stop"][0]["hooks"][0]["command"],
              "'/new/place/ravo-hook' claude");
    EXPECT_EQ(read(claudeFile())["hooks"]["Stop"].size(), 1u);
}

} // namespace
} // namespace ravo::sessions
