#include "server/checker/checker.h"

#include "base/log.h"
#include "server/checker/check_schedule.h"
#include "server/checker/thread_name.h"

#include <algorithm>

namespace ravo::server {

namespace {

// Checks are claimed this far ahead of their slots, and claimed again when the earliest
// unclaimed slot is half that away: a claim that waits on the database does not make a
// check late.
constexpr auto kClaimAhead = std::chrono::milliseconds(1000);
constexpr auto kLongestSleep = std::chrono::milliseconds(1000);
constexpr auto kShortestSleep = std::chrono::milliseconds(10);
constexpr int kClaimBatch = 1000;
constexpr auto kFlushEvery = std::chrono::seconds(1);
constexpr std::size_t kFlushAt = 2000;
constexpr auto kPauseWhenAway = std::chrono::seconds(5);
constexpr std::size_t kMaxWaitingResults = 50000;

bool slotAfter(const DueCheck& a, const DueCheck& b) {
    return a.slot > b.slot;
}

} // namespace

Checker::Checker(Store& store, CheckerOptions options)
    : store_(store), options_(std::move(options)), queue_(options_.maxQueued) {
    const int threads = std::max(1, options_.threads);
    options_.threads = threads;
    const std::size_t perLane = (options_.maxInFlight + static_cast<std::size_t>(threads) - 1) /
                                static_cast<std::size_t>(threads);
    auto trust = std::make_shared<CheckTrust>(options_.probe.caFile);
    auto dns = std::make_shared<SharedDnsCache>();
    for (int i = 0; i < threads; ++i)
        lanes_.push_back(std::make_unique<ProbeLane>(
            options_.probe, trust, dns, perLane, [this](std::size_t room) { return take(room); },
            [this](std::vector<CheckReport>&& reports) { finished(std::move(reports)); }));
}

Checker::~Checker() {
    stop();
}

void Checker::start() {
    if (running_)
        return;
    running_ = true;
    stopping_ = false;
    lanesStopped_ = false;
    if (options_.telemetry) {
        options_.telemetry->checkerRunning = true;
        options_.telemetry->checkerThreads = options_.threads;
    }
    for (auto& lane : lanes_)
        lane->start();
    saver_ = std::thread([this] {
        nameThisThread("ravo-save");
        save();
    });
    scheduler_ = std::thread([this] {
        nameThisThread("ravo-claim");
        schedule();
    });
}

void Checker::stop() {
    if (!running_)
        return;
    running_ = false;
    {
        std::lock_guard lock(wakeMutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    scheduler_.join();
    for (auto& lane : lanes_)
        lane->stop();
    {
        std::lock_guard lock(resultsMutex_);
        lanesStopped_ = true;
        resultsReady_.notify_all();
    }
    saver_.join();
    returnUnstarted();
    if (options_.telemetry)
        options_.telemetry->checkerRunning = false;
    log::info("checker", "stopped after " + std::to_string(totalChecked_) + " checks");
}

void Checker::returnUnstarted() {
    std::vector<DueCheck> unstarted = std::move(claimed_);
    claimed_.clear();
    {
        std::lock_guard lock(queueMutex_);
        // From the epoch's view no next slot has come: every waiting check is handed back.
        while (auto check = queue_.take(TimePoint{}))
            unstarted.push_back(std::move(*check));
    }
    if (unstarted.empty())
        return;
    if (auto done = store_.returnUnstartedChecks(unstarted); !done)
        log::error("checker", std::to_string(unstarted.size()) +
                                  " claimed checks wait for their next slot: " + done.error());
    else
        log::info("checker",
                  std::to_string(unstarted.size()) + " claimed checks left to the next start");
}

void Checker::sitesChanged() {
    {
        std::lock_guard lock(wakeMutex_);
        sitesChanged_ = true;
    }
    wake_.notify_all();
}

void Checker::schedule() {
    while (!stopping_) {
        const TimePoint now = options_.now();
        if (now >= nextClaim_)
            claim(now);
        release(now);
        TimePoint until = nextClaim_;
        if (!claimed_.empty())
            until = std::min(until, claimed_.front().slot);
        std::unique_lock lock(wakeMutex_);
        wake_.wait_for(lock, until - options_.now(), [this] { return stopping_ || sitesChanged_; });
        if (sitesChanged_) {
            sitesChanged_ = false;
            nextClaim_ = {};
        }
    }
}

void Checker::claim(TimePoint now) {
    for (;;) {
        auto due = store_.claimDueChecks(now + kClaimAhead, kClaimBatch);
        if (!due) {
            if (!storeAway_)
                log::error("checker", "checks paused, the database is away: " + due.error());
            storeAway_ = true;
            nextClaim_ = now + kPauseWhenAway;
            return;
        }
        if (storeAway_)
            log::info("checker", "the database is back, checks resume");
        storeAway_ = false;
        for (auto& check : *due) {
            claimed_.push_back(std::move(check));
            std::push_heap(claimed_.begin(), claimed_.end(), slotAfter);
        }
        // A full batch means more are due: claim again at once.
        if (static_cast<int>(due->size()) < kClaimBatch || stopping_)
            break;
    }
    std::optional<TimePoint> claimAgain;
    if (auto next = store_.nextDueAt(); next && *next)
        claimAgain = **next - kClaimAhead / 2;
    nextClaim_ = std::max(nextWakeUp(claimAgain, now, kLongestSleep), now + kShortestSleep);
}

void Checker::release(TimePoint now) {
    std::size_t released = 0;
    {
        std::lock_guard lock(queueMutex_);
        while (!claimed_.empty() && claimed_.front().slot <= now) {
            std::pop_heap(claimed_.begin(), claimed_.end(), slotAfter);
            queue_.push(std::move(claimed_.back()));
            claimed_.pop_back();
            ++released;
        }
    }
    if (released == 0)
        return;
    // The least busy lanes take them, one lane per check at most.
    std::vector<ProbeLane*> idlest;
    for (auto& lane : lanes_)
        idlest.push_back(lane.get());
    const std::size_t woken = std::min(released, idlest.size());
    std::partial_sort(idlest.begin(), idlest.begin() + static_cast<std::ptrdiff_t>(woken),
                      idlest.end(),
                      [](ProbeLane* a, ProbeLane* b) { return a->inFlight() < b->inFlight(); });
    for (std::size_t i = 0; i < woken; ++i)
        idlest[i]->wakeUp();
}

ProbeLane::Taken Checker::take(std::size_t room) {
    const TimePoint now = options_.now();
    std::lock_guard lock(queueMutex_);
    const auto lanes = static_cast<std::size_t>(options_.threads);
    const std::size_t share =
        std::min(room, std::max<std::size_t>(1, (queue_.size() + lanes - 1) / lanes));
    ProbeLane::Taken taken;
    while (taken.checks.size() < share)
        if (auto check = queue_.take(now))
            taken.checks.push_back(std::move(*check));
        else
            break;
    taken.moreWaiting = !queue_.empty();
    return taken;
}

void Checker::finished(std::vector<CheckReport>&& reports) {
    if (options_.telemetry) {
        auto& telemetry = *options_.telemetry;
        const TimePoint now = options_.now();
        for (const auto& report : reports) {
            telemetry.checks.add({report.outcome.problemKind.value_or("ok")});
            telemetry.checkLatenessSeconds.observe(
                std::max(0.0, secondsBetween(report.check.slot, report.outcome.at)));
            telemetry.checkSeconds.observe(std::max(0.0, secondsBetween(report.outcome.at, now)));
        }
    }
    std::lock_guard lock(resultsMutex_);
    results_.insert(results_.end(), std::make_move_iterator(reports.begin()),
                    std::make_move_iterator(reports.end()));
    if (results_.size() >= kFlushAt)
        resultsReady_.notify_one();
}

void Checker::save() {
    const TimePoint started = options_.now();
    lastReport_ = started;
    TimePoint nextPrune = started + std::chrono::seconds(30);
    for (;;) {
        {
            std::unique_lock lock(resultsMutex_);
            resultsReady_.wait_for(lock, kFlushEvery,
                                   [this] { return lanesStopped_ || results_.size() >= kFlushAt; });
            for (auto& report : results_)
                lateness_.push_back(secondsBetween(report.check.slot, report.outcome.at));
            pending_.insert(pending_.end(), std::make_move_iterator(results_.begin()),
                            std::make_move_iterator(results_.end()));
            results_.clear();
        }
        // Checks already finished are kept; the ones still running are checked next slot.
        if (lanesStopped_) {
            flush(true);
            return;
        }
        flush(false);
        const TimePoint now = options_.now();
        if (now >= nextPrune) {
            nextPrune = now + std::chrono::hours(1);
            if (auto pruned = store_.pruneHistory(now, options_.historyDays); !pruned)
                log::error("checker", "pruning history failed: " + pruned.error());
        }
        if (now - lastReport_ >= options_.reportEvery)
            report(now);
    }
}

void Checker::flush(bool force) {
    const TimePoint now = options_.now();
    if (options_.telemetry) {
        std::size_t inFlight = 0;
        for (const auto& lane : lanes_)
            inFlight += lane->inFlight();
        options_.telemetry->checksInFlight = static_cast<std::int64_t>(inFlight);
        std::optional<TimePoint> oldest;
        {
            std::lock_guard lock(queueMutex_);
            oldest = queue_.oldestSlot();
            options_.telemetry->checksQueued = static_cast<std::int64_t>(queue_.size());
            options_.telemetry->checksSkipped = static_cast<std::int64_t>(queue_.skipped());
        }
        options_.telemetry->checkerBehindSeconds =
            oldest ? std::max(0.0, secondsBetween(*oldest, now)) : 0.0;
    }
    if (pending_.empty() ||
        (!force && now - lastFlush_ < kFlushEvery && pending_.size() < kFlushAt))
        return;
    lastFlush_ = now;
    if (auto recorded = store_.recordChecks(pending_, options_.policy); !recorded) {
        log::error("checker", "saving " + std::to_string(pending_.size()) +
                                  " results failed, kept for the next try: " + recorded.error());
        if (pending_.size() > kMaxWaitingResults)
            pending_.erase(pending_.begin(),
                           pending_.begin() +
                               static_cast<std::ptrdiff_t>(pending_.size() - kMaxWaitingResults));
        return;
    }
    saved_ += pending_.size();
    totalChecked_ += pending_.size();
    pending_.clear();
}

void Checker::report(TimePoint now) {
    CheckerPeriod period;
    period.seconds = secondsBetween(lastReport_, now);
    lastReport_ = now;
    period.latenessSeconds = std::move(lateness_);
    lateness_.clear();
    period.saved = saved_;
    saved_ = 0;
    {
        std::lock_guard lock(queueMutex_);
        period.skipped = queue_.skipped() - skippedBefore_;
        skippedBefore_ = queue_.skipped();
        period.queued = queue_.size();
    }
    for (const auto& lane : lanes_)
        period.inFlight += lane->inFlight();
    period.threads = options_.threads;
    const auto capacity = measuredCapacity(period);
    if (options_.telemetry) {
        if (capacity)
            options_.telemetry->checkerCapacityPerMinute = *capacity;
        options_.telemetry->checksSkippedLastMinute = static_cast<std::int64_t>(period.skipped);
    }
    if (period.saved > 0 || period.skipped > 0)
        log::info("checker", periodSummary(period));
    if (const auto warning = overloadWarning(period))
        log::write("checker", log::Level::warning, *warning);
}

} // namespace ravo::server
