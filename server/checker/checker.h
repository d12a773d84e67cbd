#pragma once

#include "server/checker/fair_queue.h"
#include "server/checker/http_prober.h"
#include "server/checker/probe_lane.h"
#include "server/store/store.h"
#include "server/telemetry/server_telemetry.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace ravo::server {

struct CheckerOptions {
    ProbeOptions probe;
    CheckPolicy policy;
    std::size_t maxInFlight = 256; // across all threads
    int threads = 1;
    // Due checks waiting for a thread at most; past it the largest account skips slots.
    std::size_t maxQueued = 20000;
    int historyDays = 30;
    // How often the log says how checks went, and warns when they fell behind.
    std::chrono::seconds reportEvery{60};
    // The clock slots and results are read against; the real one outside tests.
    std::function<TimePoint()> now = [] { return Clock::now(); };
    // Where results, durations and lateness are counted for the operator, if anywhere.
    ServerTelemetry* telemetry = nullptr;
};

// Checks every enabled site at its slots. One thread claims the sites due within the next
// second from the store, ahead of time so the database's pace does not delay them, and
// hands each to the checking threads when its slot comes; it sleeps until the next slot
// or until told the sites changed. Each checking thread runs its own transfers, and one
// more writes the results back in batches. While the database is away, checks pause and
// finished results wait in memory.
class Checker {
public:
    Checker(Store& store, CheckerOptions options);
    ~Checker();
    void start();
    void stop();
    // Sites were added or changed: look for due checks now, not at the next wake-up.
    void sitesChanged();

private:
    void schedule();
    void claim(TimePoint now);
    // What was claimed but not started goes back to the store, due again.
    void returnUnstarted();
    void release(TimePoint now);
    ProbeLane::Taken take(std::size_t room);
    void finished(std::vector<CheckReport>&& reports);
    void save();
    void flush(bool force);
    void report(TimePoint now);

    Store& store_;
    CheckerOptions options_;
    std::vector<std::unique_ptr<ProbeLane>> lanes_;
    std::thread scheduler_;
    std::thread saver_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> lanesStopped_{false}; // the saver's cue for its last flush
    bool running_ = false;

    std::mutex wakeMutex_;
    std::condition_variable wake_;
    bool sitesChanged_ = false;

    // The claiming thread's own: claimed checks whose slot has not come, earliest first.
    std::vector<DueCheck> claimed_;
    TimePoint nextClaim_{};
    bool storeAway_ = false;

    std::mutex queueMutex_;
    FairQueue queue_;

    std::mutex resultsMutex_;
    std::condition_variable resultsReady_;
    std::vector<CheckReport> results_;

    // The saving thread's own.
    std::vector<CheckReport> pending_;
    TimePoint lastFlush_{};
    TimePoint lastReport_{};
    std::vector<double> lateness_; // seconds from slot to start, since the last report
    std::size_t saved_ = 0;
    std::size_t skippedBefore_ = 0;
    std::size_t totalChecked_ = 0;
};

} // namespace ravo::server
