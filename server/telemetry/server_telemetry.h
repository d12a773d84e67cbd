#pragma once

#include "server/store/store.h"
#include "server/telemetry/histogram.h"
#include "server/telemetry/labelled_counter.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace ravo::server {

// What the running server counts of itself for `/metrics` and `/readyz`; the parts write,
// the scrape reads. One per process.
struct ServerTelemetry {
    LabelledCounter checks; // result: "ok" or the problem's kind
    Histogram checkSeconds{{0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30}};
    Histogram checkLatenessSeconds{{0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60}};
    std::atomic<std::int64_t> checksInFlight{0};
    // How far the oldest check the checker last claimed was past its slot; 0 once it keeps up.
    std::atomic<double> checkerBehindSeconds{0};
    std::atomic<bool> checkerRunning{false};
    std::atomic<std::int64_t> checkerThreads{0};
    // Due checks waiting for a thread, and slots skipped since start because none came.
    std::atomic<std::int64_t> checksQueued{0};
    std::atomic<std::int64_t> checksSkipped{0};
    // Checks a minute measured the last time the checker fell behind; 0 until it did.
    std::atomic<double> checkerCapacityPerMinute{0};
    // Slots skipped in the checker's last reporting minute: it could not keep up.
    std::atomic<std::int64_t> checksSkippedLastMinute{0};

    LabelledCounter alertDeliveries; // outcome: "sent", "retry", "given_up"
    std::atomic<std::int64_t> mailQueued{0};
    LabelledCounter mails;    // outcome: "sent", "retry", "given_up"
    LabelledCounter requests; // route, status
};

// The Prometheus text format (version 0.0.4) of it all; `totals` is absent while the
// database is away.
std::string prometheusText(const ServerTelemetry& telemetry,
                           const std::optional<StoredTotals>& totals, std::uint64_t databaseErrors);

// Why `/readyz` should answer 503 for the checker: checks start far too late, or slots
// were skipped in the last minute. Nothing while it keeps up or does not run here.
std::optional<std::string> checkerNotReady(const ServerTelemetry& telemetry);

// The route a request path is counted under: its pattern, so ids don't become labels.
std::string routeLabel(const std::string& path);
// The method as a label: the usual ones, anything else as "other".
std::string methodLabel(const std::string& method);

} // namespace ravo::server
