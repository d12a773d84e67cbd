#include "base/atomic_file.h"
#include "base/json_config_file.h"
#include "base/json_parse.h"
#include "sessions/core/hook_installer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

namespace ravo {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using testing::TemporaryHome;

std::string nested(int levels) {
    return "{\"a\":" + std::string(static_cast<std::size_t>(levels), '[') + "1" +
           std::string(static_cast<std::size_t>(levels), ']') + "}";
}

// Regressions: {"x":1e400}, which Claude Code accepts, aborted every command with an
// uncaught out_of_range; 100,000 levels crashed; 10,000 levels grew to 200 MB on install.
TEST(HostileConfigFiles, AreReadErrorsThatNameTheFileAndAreNeverWritten) {
    TemporaryHome home;
    const auto settings = home.path() / ".claude" / "settings.json";
    fs::create_directories(settings.parent_path());
    const sessions::HookInstaller installer(home.path(), "/opt/ravo/ravo-hook");
    for (const std::string& text :
         {std::string("{\"x\":1e400}"), nested(100'000), nested(10'000), std::string("{\"a\":")}) {
        ASSERT_TRUE(writeFileAtomically(settings, text).ok());
        const auto read = JsonConfigFile::read(settings);
        ASSERT_FALSE(read.ok()) << text.substr(0, 40);
        EXPECT_NE(read.error().find(settings.string()), std::string::npos) << read.error();
        EXPECT_FALSE(installer.install().ok());
        EXPECT_FALSE(installer.installStatusLine().ok());
        EXPECT_FALSE(installer.uninstallStatusLine().ok());
        EXPECT_FALSE(installer.isInstalled());
        EXPECT_EQ(readFile(settings), text);
        EXPECT_FALSE(fs::exists(JsonConfigFile::backupPath(settings)));
    }
    // The sentence says what is wrong, not only that something is.
    EXPECT_NE(JsonConfigFile::parse("{\"x\":1e400}", settings).error().find("1e400"),
              std::string::npos);
    EXPECT_NE(JsonConfigFile::parse(nested(200), settings).error().find("deeper"),
              std::string::npos);
}

TEST(ParseJson, KeepsLongDecimalsUnderTheNamedKeysOnly) {
    const auto parsed = parseJson(R"({"balance":12345678.9012345678,"used":12345678.9012345678})",
                                  {.exactDecimalKeys = {"balance"}});
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed->at("balance"), "12345678.9012345678");
    EXPECT_TRUE(parsed->at("used").is_number_float());
    EXPECT_TRUE(parseJson(R"({"balance":12.5})", {.exactDecimalKeys = {"balance"}})
                    ->at("balance")
                    .is_number_float());
}

// Regressions: the backup was a plain copy, so an empty or cut-off one (a full disk, a
// killed first attempt) counted as made; a file Ravo created was "backed up" with Ravo's
// own entries on a later change.
TEST(ConfigBackups, AreWholeAndMadeAgainWhenEmptyOrCut) {
    TemporaryFolder folder;
    const auto file = folder / "settings.json";
    const std::string original = "{\n  \"model\": \"opus\"\n}\n";
    ASSERT_TRUE(writeFileAtomically(file, original, fs::perms(0600)).ok());
    for (const std::string& damaged : {std::string(), std::string("{\n  \"mod")}) {
        ASSERT_TRUE(writeFileAtomically(JsonConfigFile::backupPath(file), damaged).ok());
        ASSERT_TRUE(
            JsonConfigFile::write({{"model", "opus"}, {"ravo", 1}}, file, fs::perms(0644)).ok());
        EXPECT_EQ(readFile(JsonConfigFile::backupPath(file)), original);
        ASSERT_TRUE(writeFileAtomically(file, original).ok());
    }
    // A good backup is kept for good: later changes do not replace it.
    ASSERT_TRUE(JsonConfigFile::write({{"other", true}}, file, fs::perms(0644)).ok());
    ASSERT_TRUE(JsonConfigFile::write({{"third", true}}, file, fs::perms(0644)).ok());
    EXPECT_EQ(readFile(JsonConfigFile::backupPath(file)), original);
}

TEST(ConfigBackups, AFileRavoCreatedIsNotedAsNewNotBackedUpLater) {
    TemporaryFolder folder;
    const auto file = folder / "codex" / "hooks.json";
    ASSERT_TRUE(JsonConfigFile::write({{"hooks", {{"Stop", 1}}}}, file, fs::perms(0600)).ok());
    ASSERT_TRUE(JsonConfigFile::write({{"hooks", {{"Stop", 2}}}}, file, fs::perms(0600)).ok());
    EXPECT_FALSE(fs::exists(JsonConfigFile::backupPath(file)));
    const auto note = readFile(JsonConfigFile::noOriginalMarkerPath(file));
    ASSERT_TRUE(note);
    EXPECT_NE(note->find("did not exist"), std::string::npos);
}

TEST(ConfigFiles, ARefusedWriteLeavesTheFileAndMakesNoBackup) {
    TemporaryFolder folder;
    const auto file = folder / "settings.json";
    ASSERT_TRUE(writeFileAtomically(file, "{\"mine\":1}\n", fs::perms(0444)).ok());
    const Status refused = JsonConfigFile::write({{"ravo", 1}}, file, fs::perms(0644));
    ASSERT_FALSE(refused.ok());
    EXPECT_NE(refused.error().find("permission denied"), std::string::npos);
    EXPECT_EQ(readFile(file), "{\"mine\":1}\n");
    EXPECT_FALSE(fs::exists(JsonConfigFile::backupPath(file)));
}

} // namespace
} // namespace ravo
