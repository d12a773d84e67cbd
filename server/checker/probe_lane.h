#pragma once

#include "server/checker/http_prober.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace ravo::server {

// One checking thread with a libcurl multi handle of its own. It takes due checks when it
// has room, runs them, and hands the finished ones over; it sleeps while it has nothing
// to do and is woken when checks are due.
class ProbeLane {
public:
    struct Taken {
        std::vector<DueCheck> checks;
        bool moreWaiting = false; // more are due than this lane's share
    };
    using Take = std::function<Taken(std::size_t room)>;
    using Finished = std::function<void(std::vector<CheckReport>&&)>;

    ProbeLane(ProbeOptions options, std::shared_ptr<CheckTrust> trust,
              std::shared_ptr<SharedDnsCache> dns, std::size_t maxInFlight, Take take,
              Finished finished);
    ~ProbeLane();
    ProbeLane(const ProbeLane&) = delete;
    ProbeLane& operator=(const ProbeLane&) = delete;

    void start();
    // Checks still running are dropped: their sites come round again next slot.
    void stop();
    void wakeUp() { prober_.wakeUp(); }
    std::size_t inFlight() const { return inFlight_; }

private:
    void run();
    // Waits up to `wait` for checks to finish and hands on those that did.
    void collect(std::chrono::milliseconds wait);

    HttpProber prober_;
    std::size_t maxInFlight_;
    Take take_;
    Finished finished_;
    std::atomic<bool> stopping_{false};
    std::atomic<std::size_t> inFlight_{0};
    std::thread thread_;
};

} // namespace ravo::server
