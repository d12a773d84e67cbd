#include "sync/core/synced_folder.h"

#include "core/atomic_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ravo::sync::SyncedFolder {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestFile = 1024 * 1024;

// flock on a file beside the settings, released when this goes.
class FolderLock {
public:
    FolderLock(const fs::path& folder, int operation) {
        fd_ = ::open((folder / ".settings.json.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ < 0)
            return;
        while (::flock(fd_, operation) != 0 && errno == EINTR) {
        }
    }
    ~FolderLock() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int fd_ = -1;
};

} // namespace

fs::path settingsFile(const fs::path& folder) {
    return folder / "Ravo" / "settings.json";
}

Result<std::optional<std::string>> read(const fs::path& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return Failure{"The sync folder " + folder.string() + " is not there."};
    const fs::path file = settingsFile(folder);
    if (!fs::exists(file, error))
        return std::optional<std::string>{};
    const FolderLock lock(file.parent_path(), LOCK_SH);
    auto text = readFile(file, kLargestFile);
    if (!text)
        return Failure{"The synced settings file cannot be read."};
    return std::optional<std::string>(std::move(*text));
}

Status write(const fs::path& folder, const std::string& text) {
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return Failure{"The sync folder " + folder.string() + " is not there."};
    const fs::path file = settingsFile(folder);
    fs::create_directories(file.parent_path(), error);
    if (error)
        return Failure{"Cannot make " + file.parent_path().string() + ": " + error.message()};
    const FolderLock lock(file.parent_path(), LOCK_EX);
    return writeFileAtomically(file, text, fs::perms::owner_read | fs::perms::owner_write);
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
