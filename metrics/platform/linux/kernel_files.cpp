#include "metrics/platform/linux/kernel_files.h"

#include "base/kernel_text.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace ravo::metrics::kernel {

using namespace kernel_text;

namespace {

// The kernel fills a read of these files with at least a page before it stops short of
// the end, one record at a time, and their records are lines far under this. So a read
// that comes back shorter has the whole file, and the read that would only find the end
// is saved, one system call per file at every sample.
constexpr std::size_t kShortReadIsWhole = 2048;

// Reads from offset 0 to the end; nullopt on an error or past `limit`.
std::optional<std::string> readFromStart(int fd, std::size_t limit) {
    std::string content;
    char buffer[8192];
    for (;;) {
        const ssize_t n = ::pread(fd, buffer, sizeof buffer, static_cast<off_t>(content.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return std::nullopt;
        if (n == 0)
            return content;
        if (content.size() + static_cast<std::size_t>(n) > limit)
            return std::nullopt;
        content.append(buffer, static_cast<std::size_t>(n));
        if (content.size() < kShortReadIsWhole)
            return content;
    }
}

} // namespace

KernelFiles::~KernelFiles() {
    closeAll();
}

std::optional<std::string> KernelFiles::read(const std::filesystem::path& path, std::size_t limit) {
    const int fd = descriptorFor(path);
    if (fd < 0)
        return std::nullopt;
    auto content = readFromStart(fd, limit);
    if (!content)
        close(path);
    return content;
}

std::string KernelFiles::readLine(const std::filesystem::path& path) {
    // sysfs attributes are a page at most.
    const auto content = read(path, 4096);
    if (!content)
        return {};
    const std::string_view text(*content);
    return std::string(trim(text.substr(0, text.find('\n'))));
}

void KernelFiles::closeAll() {
    for (const auto& [path, fd] : open_)
        ::close(fd);
    open_.clear();
}

int KernelFiles::descriptorFor(const std::filesystem::path& path) {
    if (const auto known = open_.find(path); known != open_.end())
        return known->second;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0)
        open_.emplace(path, fd);
    return fd;
}

void KernelFiles::close(const std::filesystem::path& path) {
    if (const auto known = open_.find(path); known != open_.end()) {
        ::close(known->second);
        open_.erase(known);
    }
}

} // namespace ravo::metrics::kernel
