#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace ravo::metrics::kernel {

// The /proc and /sys files read at every tick, kept open and read again from the start:
// the kernel fills them afresh on each read at offset 0, and a tick then costs no path
// walk, open or close. A file that fails is closed and opened anew at the next read.
class KernelFiles {
public:
    KernelFiles() = default;
    KernelFiles(const KernelFiles&) = delete;
    KernelFiles& operator=(const KernelFiles&) = delete;
    ~KernelFiles();

    // The whole file; nothing if it cannot be read or is longer than `limit`.
    std::optional<std::string> read(const std::filesystem::path& path, std::size_t limit);
    // The first line, trimmed; empty when unreadable (as sysfs attributes are read).
    std::string readLine(const std::filesystem::path& path);
    // Closes every file, so ones that went away with their device are let go.
    void closeAll();

private:
    int descriptorFor(const std::filesystem::path& path);
    void close(const std::filesystem::path& path);

    std::map<std::filesystem::path, int> open_;
};

} // namespace ravo::metrics::kernel
