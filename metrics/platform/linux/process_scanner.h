#pragma once

#include "metrics/core/counter_source.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace ravo::metrics::kernel {

// Reads /proc/[pid]/stat of every process. Each stat file stays open between scans and is
// read again from the start, so a scan costs one read per process and an open only for
// processes that are new; a file whose process ended fails and is closed. At most
// `keptOpen` files stay open, so a machine with thousands of processes cannot use up
// the descriptors.
class ProcessScanner {
public:
    explicit ProcessScanner(std::filesystem::path proc = "/proc", std::size_t keptOpen = 512);
    ProcessScanner(const ProcessScanner&) = delete;
    ProcessScanner& operator=(const ProcessScanner&) = delete;
    ~ProcessScanner();

    // False when the process folder cannot be listed.
    bool scan(std::vector<ProcessCounters>& into);

    std::size_t openFiles() const { return open_.size(); }

private:
    // The stat text of one process into `buffer_`; its length, or nothing.
    std::optional<std::size_t> readStat(std::int32_t pid, int& fd);
    void closeAll();

    std::filesystem::path proc_;
    std::size_t keptOpen_;
    int folder_ = -1;
    std::uint64_t pageSize_;
    // Sorted by pid: the files kept open at the last scan, and those of this one.
    std::vector<std::pair<std::int32_t, int>> open_;
    std::vector<std::pair<std::int32_t, int>> stillOpen_;
    // A stat line is a few hundred bytes; names are at most 64.
    std::array<char, 4096> buffer_{};
    std::array<char, 8192> entries_{};
};

} // namespace ravo::metrics::kernel
