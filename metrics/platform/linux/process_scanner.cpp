#include "metrics/platform/linux/process_scanner.h"

#include "metrics/platform/linux/proc_parsers.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ravo::metrics::kernel {

namespace {

std::optional<std::int32_t> pidOf(const char* name) {
    std::int64_t pid = 0;
    if (*name == '\0')
        return std::nullopt;
    for (const char* c = name; *c; ++c) {
        if (*c < '0' || *c > '9')
            return std::nullopt;
        pid = pid * 10 + (*c - '0');
        if (pid > INT32_MAX)
            return std::nullopt;
    }
    return pid > 0 ? std::optional(static_cast<std::int32_t>(pid)) : std::nullopt;
}

struct LinuxDirent64 {
    std::uint64_t ino;
    std::int64_t off;
    unsigned short reclen;
    unsigned char type;
    char name[1];
};

} // namespace

ProcessScanner::ProcessScanner(std::filesystem::path proc, std::size_t keptOpen)
    : proc_(std::move(proc)), keptOpen_(keptOpen) {
    const long page = ::sysconf(_SC_PAGESIZE);
    pageSize_ = page > 0 ? static_cast<std::uint64_t>(page) : 4096;
}

ProcessScanner::~ProcessScanner() {
    closeAll();
    if (folder_ >= 0)
        ::close(folder_);
}

void ProcessScanner::closeAll() {
    for (const auto& [pid, fd] : open_)
        ::close(fd);
    open_.clear();
}

std::optional<std::size_t> ProcessScanner::readStat(std::int32_t pid, int& fd) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (fd < 0) {
            char path[32];
            const auto [end, error] = std::to_chars(path, path + sizeof path - 6, pid);
            if (error != std::errc{})
                return std::nullopt;
            std::memcpy(end, "/stat", 6);
            fd = ::openat(folder_, path, O_RDONLY | O_CLOEXEC);
            if (fd < 0)
                return std::nullopt; // gone since the listing
        }
        ssize_t n;
        do
            n = ::pread(fd, buffer_.data(), buffer_.size(), 0);
        while (n < 0 && errno == EINTR);
        if (n > 0)
            return static_cast<std::size_t>(n);
        // A kept file whose process ended (its pid perhaps reused): open the pid anew once.
        ::close(fd);
        fd = -1;
    }
    return std::nullopt;
}

bool ProcessScanner::scan(std::vector<ProcessCounters>& into) {
    if (folder_ < 0)
        folder_ = ::open(proc_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::size_t count = 0;
    if (folder_ < 0 || ::lseek(folder_, 0, SEEK_SET) != 0) {
        into.clear();
        return false;
    }
    stillOpen_.clear();
    std::size_t known = 0;
    for (;;) {
        // getdents64 straight into a buffer kept for it: no DIR allocation per scan.
        const long got = ::syscall(SYS_getdents64, folder_, entries_.data(), entries_.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        for (long offset = 0; offset < got;) {
            const auto* entry = reinterpret_cast<const LinuxDirent64*>(entries_.data() + offset);
            offset += entry->reclen;
            if (entry->type != DT_DIR && entry->type != DT_UNKNOWN)
                continue;
            const auto pid = pidOf(entry->name);
            if (!pid)
                continue;
            // The listing comes in pid order, as the kept files are: one forward walk.
            while (known < open_.size() && open_[known].first < *pid)
                ::close(open_[known++].second);
            int fd = -1;
            if (known < open_.size() && open_[known].first == *pid)
                fd = open_[known++].second;
            const auto length = readStat(*pid, fd);
            std::optional<ProcessStat> stat;
            if (length)
                stat = parseProcessStat(std::string_view(buffer_.data(), *length));
            if (fd >= 0) {
                if (stat && stillOpen_.size() < keptOpen_)
                    stillOpen_.emplace_back(*pid, fd);
                else
                    ::close(fd);
            }
            if (!stat)
                continue;
            if (count == into.size())
                into.emplace_back();
            auto& process = into[count++];
            process.pid = stat->pid;
            process.startTime = stat->startTime;
            process.cpuTicks = stat->cpuTicks;
            process.residentBytes = stat->residentPages * pageSize_;
            process.threads = stat->threads;
            assignDisplayName(process.name, stat->name);
        }
    }
    while (known < open_.size())
        ::close(open_[known++].second);
    // Should the listing ever come out of order, the next walk still finds its files.
    std::sort(stillOpen_.begin(), stillOpen_.end());
    std::swap(open_, stillOpen_);
    into.resize(count);
    return count > 0;
}

} // namespace ravo::metrics::kernel
