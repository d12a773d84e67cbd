#include "metrics/core/process_ranking.h"

#include <algorithm>

namespace ravo::metrics::ProcessRanking {

std::optional<std::uint64_t> elapsedTicks(const std::vector<CPUTicks>& before,
                                          const std::vector<CPUTicks>& after) {
    if (before.size() != after.size() || after.empty())
        return std::nullopt;
    std::uint64_t total = 0;
    // The counters are 32-bit and wrap; unsigned differences survive one wrap.
    for (std::size_t i = 0; i < after.size(); ++i)
        total += std::uint32_t(after[i].user - before[i].user) +
                 std::uint32_t(after[i].system - before[i].system) +
                 std::uint32_t(after[i].idle - before[i].idle) +
                 std::uint32_t(after[i].nice - before[i].nice);
    return total;
}

namespace {

struct Candidate {
    std::size_t index;
    double key;
};

// Keeps the `shown` largest keys, largest first, the lower pid first on a tie.
void offer(std::vector<Candidate>& best, std::size_t shown, Candidate candidate) {
    const auto before = [](const Candidate& a, const Candidate& b) { return a.key > b.key; };
    if (best.size() == shown && !before(candidate, best.back()))
        return;
    best.insert(std::upper_bound(best.begin(), best.end(), candidate, before), candidate);
    if (best.size() > shown)
        best.pop_back();
}

} // namespace

TopProcesses top(const std::vector<ProcessCounters>& now,
                 const std::vector<ProcessCounters>* before, std::uint64_t elapsedTicks,
                 std::size_t cpuCount, std::size_t shown) {
    const bool hasBaseline = before && elapsedTicks > 0 && cpuCount > 0;
    std::vector<double> shares(hasBaseline ? now.size() : 0, 0.0);
    std::vector<Candidate> busiest, largest;
    busiest.reserve(shown + 1);
    largest.reserve(shown + 1);
    const double limit = 100.0 * static_cast<double>(cpuCount);
    std::size_t previous = 0;
    for (std::size_t i = 0; i < now.size(); ++i) {
        const auto& process = now[i];
        if (hasBaseline) {
            while (previous < before->size() && (*before)[previous].pid < process.pid)
                ++previous;
            const ProcessCounters* was = previous < before->size() &&
                                                 (*before)[previous].pid == process.pid &&
                                                 (*before)[previous].startTime == process.startTime
                                             ? &(*before)[previous]
                                             : nullptr;
            // A pid the baseline lacks started since: all its time is in the interval.
            const std::uint64_t spent =
                !was ? process.cpuTicks
                     : (process.cpuTicks > was->cpuTicks ? process.cpuTicks - was->cpuTicks : 0);
            // The two reads are a tick apart at worst, which alone could make a single
            // thread look busier than a core.
            const double most = process.threads > 0
                                    ? std::min(limit, 100.0 * static_cast<double>(process.threads))
                                    : limit;
            shares[i] =
                std::min(most, 100.0 * static_cast<double>(spent) * static_cast<double>(cpuCount) /
                                   static_cast<double>(elapsedTicks));
            if (spent > 0)
                offer(busiest, shown, {i, shares[i]});
        }
        if (process.residentBytes > 0)
            offer(largest, shown, {i, static_cast<double>(process.residentBytes)});
    }
    const auto usage = [&](std::size_t i) {
        const auto& process = now[i];
        return ProcessUsage{process.name, process.pid,
                            hasBaseline ? std::optional(shares[i]) : std::nullopt,
                            process.residentBytes};
    };
    TopProcesses top;
    for (const auto& candidate : busiest)
        top.byCpu.push_back(usage(candidate.index));
    for (const auto& candidate : largest)
        top.byMemory.push_back(usage(candidate.index));
    return top;
}

} // namespace ravo::metrics::ProcessRanking
