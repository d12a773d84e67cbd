#include "app/app_services.h"
#include "common/platform/linux/xdg_autostart_login_item.h"
#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

namespace ravo::app {
namespace {

namespace fs = std::filesystem;

TEST(XdgAutostart, WritesAnEntryThatStartsThisCopyAndRemovesIt) {
    testing::TemporaryFolder folder;
    common::XdgAutostartLoginItem item(folder / "autostart", "/usr/local/bin/ravo");
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(true).ok());
    EXPECT_TRUE(item.isEnabled());
    const auto entry = readFile(item.entryPath());
    EXPECT_NE(entry->find("Exec=\"/usr/local/bin/ravo\""), std::string::npos);
    EXPECT_NE(entry->find("[Desktop Entry]"), std::string::npos);
    // The desktop's own settings switch it off this way.
    writeFileAtomically(item.entryPath(), *entry + "Hidden=true\n");
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(false).ok());
    EXPECT_FALSE(fs::exists(item.entryPath()));
    EXPECT_TRUE(item.setEnabled(false).ok());
}

TEST(InstalledCopy, ABuildTreeIsNotAnInstallation) {
    testing::TemporaryFolder folder;
    fs::create_directories(folder / "build" / "bin");
    writeFileAtomically(folder / "build" / "CMakeCache.txt", "");
    EXPECT_FALSE(AppServices::isInstalledCopy(folder / "build" / "bin" / "ravo"));
    EXPECT_TRUE(AppServices::isInstalledCopy("/usr/local/bin/ravo"));
}

} // namespace
} // namespace ravo::app
