#include "server/checker/checker.h"

#include "base/log.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ravo::server {

namespace {

constexpr auto kClaimEvery = std::chrono::milliseconds(250);
constexpr auto kFlushEvery = std::chrono::seconds(1);
constexpr auto kPauseWhenAway = std::chrono::seconds(5);
constexpr auto kReportEvery = std::chrono::seconds(60);
constexpr std::size_t kMaxWaitingResults = 50000;

} // namespace

Checker::Checker(Store& store, CheckerOptions options)
    : store_(store), options_(std::move(options)), prober_(options_.probe) {}

Checker::~Checker() {
    stop();
}

void Checker::start() {
    if (options_.telemetry)
        options_.telemetry->checkerRunning = true;
    thread_.start([this] { run(); });
}

void Checker::stop() {
    if (!thread_.stop())
        return;
    if (options_.telemetry)
        options_.telemetry->checkerRunning = false;
    log::info("checker", "stopped after " + std::to_string(totalChecked_) + " checks");
}

void Checker::run() {
    const TimePoint started = options_.now();
    nextReport_ = started + kReportEvery;
    nextPrune_ = started + std::chrono::seconds(30);
    while (!thread_.stopping()) {
        const TimePoint now = options_.now();
        if (now >= nextClaim_ && prober_.inFlight() < options_.maxInFlight)
            claim(now);
        for (auto& finished : prober_.poll(std::chrono::milliseconds(50))) {
            lateness_.push_back(secondsBetween(finished.check.slot, finished.outcome.at));
            count(finished, options_.now());
            pending_.push_back(std::move(finished));
        }
        if (options_.telemetry)
            options_.telemetry->checksInFlight = static_cast<std::int64_t>(prober_.inFlight());
        flush(false);
        if (now >= nextPrune_) {
            nextPrune_ = now + std::chrono::hours(1);
            if (auto pruned = store_.pruneHistory(now, options_.historyDays); !pruned)
                log::error("checker", "pruning history failed: " + pruned.error());
        }
        if (now >= nextReport_)
            report(now);
    }
    // Checks already finished are kept; the ones still running are checked next slot.
    flush(true);
}

void Checker::claim(TimePoint now) {
    const auto room = static_cast<int>(options_.maxInFlight - prober_.inFlight());
    auto due = store_.claimDueChecks(now, std::min(room, 500));
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
    TimePoint oldest = now;
    for (const auto& check : *due) {
        oldest = std::min(oldest, check.slot);
        prober_.start(check);
    }
    if (options_.telemetry)
        options_.telemetry->checkerBehindSeconds = secondsBetween(oldest, now);
    // A full batch means more are due: claim again at once.
    nextClaim_ = static_cast<int>(due->size()) == std::min(room, 500) ? now : now + kClaimEvery;
}

void Checker::count(const CheckReport& finished, TimePoint now) {
    if (!options_.telemetry)
        return;
    auto& telemetry = *options_.telemetry;
    telemetry.checks.add({finished.outcome.problemKind.value_or("ok")});
    telemetry.checkLatenessSeconds.observe(
        std::max(0.0, secondsBetween(finished.check.slot, finished.outcome.at)));
    telemetry.checkSeconds.observe(std::max(0.0, secondsBetween(finished.outcome.at, now)));
}

void Checker::flush(bool force) {
    const TimePoint now = options_.now();
    if (pending_.empty() || (!force && now - lastFlush_ < kFlushEvery))
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
    checked_ += pending_.size();
    totalChecked_ += pending_.size();
    pending_.clear();
}

void Checker::report(TimePoint now) {
    nextReport_ = now + kReportEvery;
    if (lateness_.empty())
        return;
    std::sort(lateness_.begin(), lateness_.end());
    const auto at = [this](double fraction) {
        const auto index = static_cast<std::size_t>(
            std::ceil(fraction * static_cast<double>(lateness_.size())) - 1);
        return lateness_[std::min(index, lateness_.size() - 1)] * 1000;
    };
    char line[160];
    std::snprintf(line, sizeof line,
                  "%zu checks saved in the last minute; start after slot p50 %.0f ms, p99 %.0f "
                  "ms, max %.0f ms; %zu in flight",
                  checked_, at(0.5), at(0.99), lateness_.back() * 1000, prober_.inFlight());
    log::info("checker", line);
    lateness_.clear();
    checked_ = 0;
}

} // namespace ravo::server
