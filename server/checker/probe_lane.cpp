#include "server/checker/probe_lane.h"

#include "server/checker/thread_name.h"

namespace ravo::server {

namespace {

// Idle, a lane wakes now and then anyway; checks that come due wake it at once.
constexpr auto kIdleWait = std::chrono::milliseconds(1000);
// With checks waiting beyond its share, a lane comes back for more soon.
constexpr auto kBusyWait = std::chrono::milliseconds(2);
// How long a stopping lane waits for the checks it has under way; a slower site's slot is
// left unrecorded rather than holding up a restart.
constexpr auto kStopGrace = std::chrono::seconds(3);

} // namespace

ProbeLane::ProbeLane(ProbeOptions options, std::shared_ptr<CheckTrust> trust,
                     std::shared_ptr<SharedDnsCache> dns, std::size_t maxInFlight, Take take,
                     Finished finished)
    : prober_(std::move(options), std::move(trust), std::move(dns)),
      maxInFlight_(std::max<std::size_t>(1, maxInFlight)), take_(std::move(take)),
      finished_(std::move(finished)) {}

ProbeLane::~ProbeLane() {
    stop();
}

void ProbeLane::start() {
    stopping_ = false;
    thread_ = std::thread([this] {
        nameThisThread("ravo-check");
        run();
    });
}

void ProbeLane::stop() {
    if (!thread_.joinable())
        return;
    stopping_ = true;
    prober_.wakeUp();
    thread_.join();
}

void ProbeLane::run() {
    while (!stopping_) {
        bool moreWaiting = false;
        if (const std::size_t room = maxInFlight_ - prober_.inFlight(); room > 0) {
            Taken taken = take_(room);
            for (const auto& check : taken.checks)
                prober_.start(check);
            moreWaiting = taken.moreWaiting && prober_.inFlight() < maxInFlight_;
        }
        inFlight_ = prober_.inFlight();
        collect(moreWaiting ? kBusyWait : kIdleWait);
    }
    // Checks under way have reached their sites: their answers are worth saving.
    const auto giveUpAt = std::chrono::steady_clock::now() + kStopGrace;
    while (prober_.inFlight() > 0 && std::chrono::steady_clock::now() < giveUpAt)
        collect(std::chrono::milliseconds(50));
}

void ProbeLane::collect(std::chrono::milliseconds wait) {
    auto finished = prober_.poll(wait);
    inFlight_ = prober_.inFlight();
    if (!finished.empty())
        finished_(std::move(finished));
}

} // namespace ravo::server
