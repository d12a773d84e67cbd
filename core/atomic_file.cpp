#include "core/atomic_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace ravo {

namespace fs = std::filesystem;

namespace {

struct FileDescriptor {
    int fd = -1;
    explicit FileDescriptor(int f) : fd(f) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd >= 0)
            ::close(fd);
    }
    int release() {
        int f = fd;
        fd = -1;
        return f;
    }
};

std::string temporarySibling(const fs::path& path) {
    static thread_local std::mt19937_64 random{std::random_device{}() ^
                                               static_cast<unsigned long>(::getpid())};
    char suffix[40];
    std::snprintf(suffix, sizeof suffix, ".%d.%016llx.tmp", static_cast<int>(::getpid()),
                  static_cast<unsigned long long>(random()));
    return path.string() + suffix;
}

Failure failureFor(const fs::path& path, const char* what) {
    return Failure{std::string(what) + " " + path.string() + ": " + std::strerror(errno)};
}

} // namespace

Status writeFileAtomically(const fs::path& path, std::string_view bytes,
                           std::optional<fs::perms> mode) {
    mode_t permissions = 0644;
    struct stat existing {};
    if (mode)
        permissions = static_cast<mode_t>(*mode);
    else if (::stat(path.c_str(), &existing) == 0)
        permissions = existing.st_mode & 07777;

    const std::string temporary = temporarySibling(path);
    FileDescriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.fd < 0)
        return failureFor(path, "Cannot write");
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(file.fd, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            auto failure = failureFor(path, "Cannot write");
            ::unlink(temporary.c_str());
            return failure;
        }
        written += static_cast<std::size_t>(n);
    }
    ::fchmod(file.fd, permissions);
    if (::close(file.release()) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) {
        auto failure = failureFor(path, "Cannot replace");
        ::unlink(temporary.c_str());
        return failure;
    }
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

} // namespace ravo
