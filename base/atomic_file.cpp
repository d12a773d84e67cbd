#include "base/atomic_file.h"

#include "base/file_descriptor.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace ravo {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kTemporarySuffix = ".tmp";

std::string temporarySibling(const fs::path& path) {
    static thread_local std::mt19937_64 random{std::random_device{}() ^
                                               static_cast<unsigned long>(::getpid())};
    char suffix[40];
    std::snprintf(suffix, sizeof suffix, ".%d.%016llx.tmp", static_cast<int>(::getpid()),
                  static_cast<unsigned long long>(random()));
    return path.string() + suffix;
}

Failure failureFor(const fs::path& path, const char* what, int error = errno) {
    std::string reason = std::strerror(error);
    if (!reason.empty())
        reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    return Failure{std::string(what) + " " + path.string() + ": " + reason};
}

Status writeAll(int fd, std::string_view bytes, const fs::path& path) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return failureFor(path, "Cannot write", n == 0 ? ENOSPC : errno);
        written += static_cast<std::size_t>(n);
    }
    return success();
}

// Root may write anything; a file with no write bit at all is still the user's "read-only".
bool mayWrite(const fs::path& path, const struct stat& existing) {
    if (::geteuid() == 0)
        return (existing.st_mode & 0222) != 0;
    return ::access(path.c_str(), W_OK) == 0;
}

// Several names share this inode: replacing one name would split them, so write in place.
// The bytes are complete in memory and the file is only shortened after they are written.
Status rewriteInPlace(const fs::path& target, std::string_view bytes) {
    FileDescriptor file(::open(target.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.fd < 0)
        return failureFor(target, "Cannot write");
    if (auto written = writeAll(file.fd, bytes, target); !written)
        return written;
    if (::ftruncate(file.fd, static_cast<off_t>(bytes.size())) != 0 || ::fsync(file.fd) != 0)
        return failureFor(target, "Cannot write");
    return success();
}

} // namespace

fs::path resolvedLinkTarget(const fs::path& path) {
    fs::path current = path;
    for (int hops = 0; hops < 40; ++hops) {
        std::error_code error;
        if (!fs::is_symlink(current, error))
            return current;
        const fs::path next = fs::read_symlink(current, error);
        if (error)
            return current;
        current = next.is_absolute() ? next : current.parent_path() / next;
    }
    return current; // a loop: the write below fails with the system's own error
}

namespace {

// The file a write lands in, as it is now: resolved and looked at once per write.
struct WriteTarget {
    fs::path path;
    bool exists = false;
    struct stat status {};
};

Result<WriteTarget> replaceableTarget(const fs::path& path) {
    WriteTarget target{resolvedLinkTarget(path)};
    target.exists = ::stat(target.path.c_str(), &target.status) == 0;
    if (!target.exists)
        return target;
    if (!S_ISREG(target.status.st_mode))
        return Failure{"Cannot write " + path.string() + ": it is not a regular file"};
    if (!mayWrite(target.path, target.status))
        return failureFor(path, "Cannot write", EACCES);
    return target;
}

} // namespace

Status checkReplaceable(const fs::path& path) {
    if (auto target = replaceableTarget(path); !target)
        return target.failure();
    return success();
}

Status writeFileAtomically(const fs::path& path, std::string_view bytes,
                           std::optional<fs::perms> mode) {
    auto resolved = replaceableTarget(path);
    if (!resolved)
        return resolved.failure();
    const fs::path& target = resolved->path;
    const bool exists = resolved->exists;
    const struct stat& existing = resolved->status;
    if (exists && existing.st_nlink > 1)
        return rewriteInPlace(target, bytes);
    const mode_t permissions =
        exists ? existing.st_mode & 07777 : static_cast<mode_t>(mode.value_or(fs::perms(0644)));

    const std::string temporary = temporarySibling(target);
    FileDescriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.fd < 0)
        return failureFor(path, "Cannot write");
    auto discard = [&](Failure failure) {
        ::unlink(temporary.c_str());
        return failure;
    };
    if (auto written = writeAll(file.fd, bytes, path); !written)
        return discard(written.failure());
    // Root editing a user's file with the user's HOME must leave it the user's.
    if (exists && (existing.st_uid != ::geteuid() || existing.st_gid != ::getegid()) &&
        ::fchown(file.fd, existing.st_uid, existing.st_gid) != 0)
        return discard(failureFor(path, "Cannot keep the owner of"));
    if (::fchmod(file.fd, permissions) != 0)
        return discard(failureFor(path, "Cannot set the permissions of"));
    if (::close(file.release()) != 0 || ::rename(temporary.c_str(), target.c_str()) != 0)
        return discard(failureFor(path, "Cannot replace"));
    return success();
}

std::optional<std::string> readFile(const fs::path& path, std::size_t maxBytes) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0)
        return std::nullopt;
    std::string content;
    char buffer[8192];
    for (;;) {
        const ssize_t n = ::read(file.fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return std::nullopt;
        if (n == 0)
            break;
        if (content.size() + static_cast<std::size_t>(n) > maxBytes)
            return std::nullopt;
        content.append(buffer, static_cast<std::size_t>(n));
    }
    return content;
}

bool isLeftoverTemporaryName(std::string_view name) {
    // "<file>.<pid>.<16 hex digits>.tmp"
    constexpr std::size_t kHexDigits = 16;
    if (!name.ends_with(kTemporarySuffix))
        return false;
    name.remove_suffix(kTemporarySuffix.size());
    if (name.size() < kHexDigits + 1 || name[name.size() - kHexDigits - 1] != '.')
        return false;
    for (char c : name.substr(name.size() - kHexDigits))
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    name.remove_suffix(kHexDigits + 1);
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return false;
    for (char c : name.substr(dot + 1))
        if (c < '0' || c > '9')
            return false;
    return true;
}

void removeLeftoverTemporaries(const fs::path& folder, std::chrono::seconds minimumAge) {
    std::error_code error;
    const auto now = fs::file_time_type::clock::now();
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (!isLeftoverTemporaryName(it->path().filename().string()))
            continue;
        std::error_code ignored;
        if (!it->is_regular_file(ignored) || it->is_symlink(ignored))
            continue;
        const auto modified = it->last_write_time(ignored);
        if (!ignored && now - modified >= minimumAge)
            fs::remove(it->path(), ignored);
    }
}

} // namespace ravo
