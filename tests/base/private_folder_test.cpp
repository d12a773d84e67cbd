#include "base/private_folder.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace ravo {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

int listenAt(const fs::path& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(fd, 1);
    return fd;
}

// Regression: without XDG_RUNTIME_DIR every instance listened on /tmp/ravo-<uid>.socket,
// which another user could create first and so receive the links handed to Ravo.
TEST(PrivateRuntimeFolder, UsesOnlyFoldersNobodyElseCanEnter) {
    TemporaryFolder runtime, temporary;
    ::chmod(runtime.path().c_str(), 0700);
    EXPECT_EQ(*PrivateFolder::runtimeFolder(runtime.path(), temporary.path()), runtime.path());

    // A runtime folder others may write is passed over for a private one of our own.
    ::chmod(runtime.path().c_str(), 0777);
    const auto own = PrivateFolder::runtimeFolder(runtime.path(), temporary.path());
    ASSERT_TRUE(own.ok()) << own.error();
    EXPECT_EQ(own->parent_path(), temporary.path());
    struct stat info {};
    ::lstat(own->c_str(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    EXPECT_EQ(*PrivateFolder::runtimeFolder(std::nullopt, temporary.path()), *own);

    // Somebody else's folder, or a link planted in its place, is refused.
    fs::remove(*own);
    fs::create_directory(temporary / "elsewhere");
    ::chmod((temporary / "elsewhere").c_str(), 0700);
    fs::create_directory_symlink(temporary / "elsewhere", *own);
    const auto linked = PrivateFolder::runtimeFolder(std::nullopt, temporary.path());
    ASSERT_FALSE(linked.ok());
    EXPECT_NE(linked.error().find("not a folder"), std::string::npos);
    if (::geteuid() == 0) {
        fs::remove(*own);
        fs::create_directory(*own);
        ::chmod(own->c_str(), 0700);
        ASSERT_EQ(::chown(own->c_str(), 65534, 65534), 0);
        const auto foreign = PrivateFolder::runtimeFolder(std::nullopt, temporary.path());
        ASSERT_FALSE(foreign.ok());
        EXPECT_NE(foreign.error().find("another user"), std::string::npos);
    }
}

TEST(PrivateRuntimeFolder, ASocketMustBeOurOwnSocket) {
    TemporaryFolder folder;
    EXPECT_TRUE(PrivateFolder::checkOwnSocket(folder / "missing.socket").ok());
    const int fd = listenAt(folder / "ravo.socket");
    EXPECT_TRUE(PrivateFolder::checkOwnSocket(folder / "ravo.socket").ok());
    std::FILE* plain = std::fopen((folder / "plain").c_str(), "w");
    std::fclose(plain);
    EXPECT_FALSE(PrivateFolder::checkOwnSocket(folder / "plain").ok());
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown((folder / "ravo.socket").c_str(), 65534, 65534), 0);
        EXPECT_FALSE(PrivateFolder::checkOwnSocket(folder / "ravo.socket").ok());
    }
    ::close(fd);
}

} // namespace
} // namespace ravo
