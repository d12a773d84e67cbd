#pragma once

#include "base/worker_thread.h"
#include "server/checker/http_prober.h"
#include "server/store/store.h"
#include "server/telemetry/server_telemetry.h"

#include <chrono>
#include <functional>

namespace ravo::server {

struct CheckerOptions {
    ProbeOptions probe;
    CheckPolicy policy;
    std::size_t maxInFlight = 256;
    int historyDays = 30;
    // The clock slots and results are read against; the real one outside tests.
    std::function<TimePoint()> now = [] { return Clock::now(); };
    // Where results, durations and lateness are counted for the operator, if anywhere.
    ServerTelemetry* telemetry = nullptr;
};

// Claims due sites from the store, checks them, and writes the results back in batches,
// away from the check path. While the database is away, checks pause and finished
// results wait in memory.
class Checker {
public:
    Checker(Store& store, CheckerOptions options);
    ~Checker();
    void start();
    void stop();

private:
    void run();
    void claim(TimePoint now);
    void flush(bool force);
    void report(TimePoint now);
    void count(const CheckReport& finished, TimePoint now);

    Store& store_;
    CheckerOptions options_;
    HttpProber prober_;
    WorkerThread thread_;

    std::vector<CheckReport> pending_;
    TimePoint nextClaim_{};
    TimePoint lastFlush_{};
    TimePoint nextPrune_{};
    TimePoint nextReport_{};
    bool storeAway_ = false;
    std::vector<double> lateness_; // seconds from slot to start, since the last report
    std::size_t checked_ = 0;
    std::size_t totalChecked_ = 0;
};

} // namespace ravo::server
