#include "base/private_folder.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace ravo::PrivateFolder {

namespace fs = std::filesystem;

Status check(const fs::path& folder) {
    struct stat info {};
    if (::lstat(folder.c_str(), &info) != 0)
        return Failure{"Cannot use " + folder.string() + ": " + std::strerror(errno)};
    if (!S_ISDIR(info.st_mode))
        return Failure{"Cannot use " + folder.string() + ": it is not a folder"};
    if (info.st_uid != ::getuid())
        return Failure{"Cannot use " + folder.string() + ": it belongs to another user"};
    if ((info.st_mode & 0077) != 0)
        return Failure{"Cannot use " + folder.string() + ": other users can open it"};
    return success();
}

Result<fs::path> runtimeFolder(const std::optional<fs::path>& runtimeDir,
                               const fs::path& temporaryRoot) {
    if (runtimeDir && runtimeDir->is_absolute() && check(*runtimeDir))
        return *runtimeDir;
    const fs::path own = temporaryRoot / ("ravo-" + std::to_string(::getuid()));
    if (::mkdir(own.c_str(), 0700) != 0 && errno != EEXIST)
        return Failure{"Cannot create " + own.string() + ": " + std::strerror(errno)};
    if (auto checked = check(own); !checked)
        return checked.failure();
    return own;
}

Status checkOwnSocket(const fs::path& socket) {
    struct stat info {};
    if (::lstat(socket.c_str(), &info) != 0)
        return errno == ENOENT
                   ? success()
                   : Status(Failure{"Cannot use " + socket.string() + ": " + std::strerror(errno)});
    if (!S_ISSOCK(info.st_mode))
        return Failure{"Cannot use " + socket.string() + ": it is not a socket"};
    if (info.st_uid != ::getuid())
        return Failure{"Cannot use " + socket.string() + ": it belongs to another user"};
    return success();
}

} // namespace ravo::PrivateFolder
