#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ravo {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

mode_t modeOf(const fs::path& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

TEST(AtomicFile, ReplacesContentAndLeavesNoTemporaryFiles) {
    TemporaryFolder folder;
    const auto file = folder / "settings.json";
    ASSERT_TRUE(writeFileAtomically(file, "first").ok());
    ASSERT_TRUE(writeFileAtomically(file, "second, longer").ok());
    EXPECT_EQ(readFile(file), "second, longer");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST(AtomicFile, KeepsTheModeOfAnExistingFileUnlessToldOtherwise) {
    TemporaryFolder folder;
    const auto file = folder / "hooks.json";
    ASSERT_TRUE(writeFileAtomically(file, "{}", fs::perms(0600)).ok());
    EXPECT_EQ(modeOf(file), 0600u);
    ASSERT_TRUE(writeFileAtomically(file, "{\"a\":1}").ok());
    EXPECT_EQ(modeOf(file), 0600u);
    ASSERT_TRUE(writeFileAtomically(folder / "new.json", "{}").ok());
    EXPECT_EQ(modeOf(folder / "new.json"), 0644u);
}

TEST(AtomicFile, FailsWithTheReasonAndKeepsTheOldFile) {
    TemporaryFolder folder;
    const auto missingFolder = folder / "absent" / "file.json";
    const Status status = writeFileAtomically(missingFolder, "x");
    ASSERT_FALSE(status.ok());
    EXPECT_NE(status.error().find("absent/file.json"), std::string::npos);
}

TEST(ReadFile, RefusesMissingAndOversizedFiles) {
    TemporaryFolder folder;
    EXPECT_FALSE(readFile(folder / "nothing").has_value());
    ASSERT_TRUE(writeFileAtomically(folder / "big", std::string(100, 'x')).ok());
    EXPECT_FALSE(readFile(folder / "big", 99).has_value());
    EXPECT_EQ(readFile(folder / "big", 100)->size(), 100u);
    EXPECT_EQ(readFile(folder.path()), std::nullopt); // a folder is not a file
}

// Regressions: dotfiles managers link settings.json elsewhere; an atomic replace of the link
// itself turned it into a plain file and left the real one behind.
TEST(AtomicFileThroughLinks, ReplacesASymlinksTargetInItsOwnFolderAndKeepsTheLink) {
    TemporaryFolder folder;
    fs::create_directories(folder / "dotfiles" / "claude");
    fs::create_directories(folder / "home" / ".claude");
    const auto real = folder / "dotfiles" / "claude" / "settings.json";
    const auto link = folder / "home" / ".claude" / "settings.json";
    ASSERT_TRUE(writeFileAtomically(real, "{}", fs::perms(0600)).ok());
    fs::create_symlink("../../dotfiles/claude/settings.json", link);

    ASSERT_TRUE(writeFileAtomically(link, "{\"new\":true}").ok());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(real), "{\"new\":true}");
    EXPECT_EQ(modeOf(real), 0600u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "home" / ".claude"),
                            fs::directory_iterator()),
              1); // no temporary left beside the link either
}

TEST(AtomicFileThroughLinks, KeepsHardLinksSharingOneFile) {
    TemporaryFolder folder;
    const auto first = folder / "settings.json";
    const auto second = folder / "backup-of-settings.json";
    ASSERT_TRUE(writeFileAtomically(first, "{\"old\":\"a much longer old content\"}").ok());
    fs::create_hard_link(first, second);
    ASSERT_TRUE(writeFileAtomically(first, "{\"new\":1}").ok());
    EXPECT_EQ(fs::hard_link_count(first), 2u);
    EXPECT_EQ(readFile(second), "{\"new\":1}");
}

TEST(AtomicFileOwnership, KeepsModeAndOwnerAndRefusesReadOnlyFiles) {
    TemporaryFolder folder;
    const auto file = folder / "hooks.json";
    ASSERT_TRUE(writeFileAtomically(file, "{}", fs::perms(0600)).ok());
    if (::geteuid() == 0) {
        // Root editing a user's file with the user's HOME leaves it theirs.
        ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
        ASSERT_TRUE(writeFileAtomically(file, "{\"a\":1}").ok());
        struct stat info {};
        ::stat(file.c_str(), &info);
        EXPECT_EQ(info.st_uid, 65534u);
        EXPECT_EQ(info.st_gid, 65534u);
        EXPECT_EQ(modeOf(file), 0600u);
    }
    const auto readOnly = folder / "locked.json";
    ASSERT_TRUE(writeFileAtomically(readOnly, "{\"mine\":1}", fs::perms(0444)).ok());
    const Status refused = writeFileAtomically(readOnly, "{}");
    ASSERT_FALSE(refused.ok());
    EXPECT_NE(refused.error().find("permission denied"), std::string::npos) << refused.error();
    EXPECT_EQ(readFile(readOnly), "{\"mine\":1}");
}

TEST(LeftoverTemporaries, OnlyOldOnesOfOurOwnShapeAreRemoved) {
    TemporaryFolder folder;
    const auto old = folder / "claude-a.json.4242.0123456789abcdef.tmp";
    const auto fresh = folder / "claude-b.json.4243.fedcba9876543210.tmp";
    const auto usersOwn = folder / "notes.tmp";
    for (const auto& path : {old, fresh, usersOwn})
        ASSERT_TRUE(writeFileAtomically(path, "x").ok());
    fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours(1));
    fs::last_write_time(usersOwn, fs::file_time_type::clock::now() - std::chrono::hours(1));
    removeLeftoverTemporaries(folder.path());
    EXPECT_FALSE(fs::exists(old));
    EXPECT_TRUE(fs::exists(fresh));
    EXPECT_TRUE(fs::exists(usersOwn));
    EXPECT_FALSE(isLeftoverTemporaryName("settings.json.12.0123456789abcdeg.tmp"));
    EXPECT_FALSE(isLeftoverTemporaryName(".12.0123456789abcdef.tmp"));
}

} // namespace
} // namespace ravo
