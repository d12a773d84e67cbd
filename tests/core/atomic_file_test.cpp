#include "core/atomic_file.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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

} // namespace
} // namespace ravo
