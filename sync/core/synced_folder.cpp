#include "sync/core/synced_folder.h"

#include "base/file_descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ravo::sync::SyncedFolder {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestFile = 1024 * 1024;
constexpr const char* kSubfolder = "Ravo";
constexpr const char* kFileName = "settings.json";
constexpr const char* kLockName = ".settings.json.lock";
constexpr const char* kNotAFile =
    "Ravo/settings.json in the sync folder is not a plain file (a link, or something else), so "
    "Ravo leaves it alone. Remove it to sync again.";

bool isPlainFile(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// Ravo/ inside the folder, never through a link; made when `create` and missing.
Result<std::optional<int>> openSubfolder(const fs::path& folder, bool create) {
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return Failure{"The sync folder " + folder.string() + " is not there."};
    const FileDescriptor base(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!base)
        return Failure{"The sync folder " + folder.string() + " cannot be opened."};
    if (create && ::mkdirat(base.fd, kSubfolder, 0700) != 0 && errno != EEXIST)
        return Failure{"Cannot make " + (folder / kSubfolder).string() + "."};
    const int fd = ::openat(base.fd, kSubfolder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0)
        return std::optional(fd);
    if (errno == ENOENT)
        return std::optional<int>();
    return Failure{"Ravo in the sync folder is not a plain folder (a link, or a file), so Ravo "
                   "leaves it alone."};
}

// flock on a file beside the settings, without waiting: someone else's lock is "busy".
Result<std::unique_ptr<FileDescriptor>> lock(int folder, int operation) {
    auto fd = std::make_unique<FileDescriptor>(
        ::openat(folder, kLockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!*fd || !isPlainFile(fd->fd))
        return Failure{"The lock beside the synced settings file is not a plain file."};
    int locked;
    while ((locked = ::flock(fd->fd, operation | LOCK_NB)) != 0 && errno == EINTR) {
    }
    if (locked != 0)
        return Failure{std::string(kBusy)};
    return fd;
}

} // namespace

fs::path settingsFile(const fs::path& folder) {
    return folder / kSubfolder / kFileName;
}

bool isBusy(const Failure& failure) {
    return failure.message == kBusy;
}

Result<std::optional<std::string>> read(const fs::path& folder) {
    auto subfolder = openSubfolder(folder, false);
    if (!subfolder)
        return subfolder.failure();
    if (!*subfolder)
        return std::optional<std::string>{};
    const FileDescriptor directory(**subfolder);
    // A pipe opened without O_NONBLOCK would wait for a writer; fstat then refuses it.
    const FileDescriptor file(
        ::openat(directory.fd, kFileName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT)
            return std::optional<std::string>{};
        return Failure{errno == ELOOP ? kNotAFile : "The synced settings file cannot be read."};
    }
    if (!isPlainFile(file.fd))
        return Failure{kNotAFile};
    const auto held = lock(directory.fd, LOCK_SH);
    if (!held)
        return held.failure();
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(file.fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Failure{"The synced settings file cannot be read."};
        if (got == 0)
            break;
        text.append(buffer, static_cast<std::size_t>(got));
        if (text.size() > kLargestFile)
            return Failure{
                "The synced settings file is too large to be Ravo's and was left alone."};
    }
    return std::optional<std::string>(std::move(text));
}

Status write(const fs::path& folder, const std::string& text) {
    auto subfolder = openSubfolder(folder, true);
    if (!subfolder)
        return subfolder.failure();
    if (!*subfolder)
        return Failure{"Cannot make " + (folder / kSubfolder).string() + "."};
    const FileDescriptor directory(**subfolder);
    const auto held = lock(directory.fd, LOCK_EX);
    if (!held)
        return held.failure();
    // Whatever sits at the name now is replaced only when it is a plain file.
    struct stat status {};
    if (::fstatat(directory.fd, kFileName, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        !S_ISREG(status.st_mode))
        return Failure{kNotAFile};
    const std::string temporary = std::string(".") + kFileName + "." + std::to_string(::getpid());
    ::unlinkat(directory.fd, temporary.c_str(), 0);
    const FileDescriptor out(::openat(directory.fd, temporary.c_str(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out)
        return Failure{"Cannot write in " + (folder / kSubfolder).string() + "."};
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t put = ::write(out.fd, text.data() + written, text.size() - written);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            ::unlinkat(directory.fd, temporary.c_str(), 0);
            return Failure{"Cannot write in " + (folder / kSubfolder).string() + "."};
        }
        written += static_cast<std::size_t>(put);
    }
    // rename replaces the name itself, never what a link there points to.
    if (::fsync(out.fd) != 0 ||
        ::renameat(directory.fd, temporary.c_str(), directory.fd, kFileName) != 0) {
        ::unlinkat(directory.fd, temporary.c_str(), 0);
        return Failure{"Cannot replace " + settingsFile(folder).string() + "."};
    }
    return success();
}

std::vector<fs::path> candidates(const fs::path& home) {
    std::vector<fs::path> found;
    for (const char* name : {"Nextcloud", "ownCloud", "Sync", "Dropbox", "Seafile", "pCloudDrive",
                             "MEGA", "Syncthing"}) {
        std::error_code error;
        if (fs::is_directory(home / name, error))
            found.push_back(home / name);
    }
    return found;
}

} // namespace ravo::sync::SyncedFolder
