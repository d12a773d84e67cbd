#include "server/telemetry/server_telemetry.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

TEST(CheckerReadiness, NotReadyWhenChecksStartFarTooLateOrSlotsAreSkipped) {
    struct Row {
        const char* name;
        bool running;
        double behindSeconds;
        std::int64_t skipped;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"keeping up", true, 0.02, 0, std::nullopt},
        {"a minute behind is still ready", true, 60, 0, std::nullopt},
        {"past a minute behind", true, 95.4, 0, "checks start 95 s late"},
        {"skipping slots", true, 3, 1200,
         "checks cannot keep up: 1200 slots skipped in the last minute, at most 30000 checks a "
         "minute"},
        {"another process checks", false, 500, 1200, std::nullopt},
    };
    for (const auto& row : rows) {
        ServerTelemetry telemetry;
        telemetry.checkerRunning = row.running;
        telemetry.checkerBehindSeconds = row.behindSeconds;
        telemetry.checksSkippedLastMinute = row.skipped;
        telemetry.checkerCapacityPerMinute = 30000;
        EXPECT_EQ(checkerNotReady(telemetry), row.expected) << row.name;
    }
}

TEST(CheckerReadiness, MetricsSayHowTheCheckerKeepsUp) {
    ServerTelemetry telemetry;
    telemetry.checkerThreads = 8;
    telemetry.checksQueued = 1500;
    telemetry.checksSkipped = 42;
    telemetry.checkerCapacityPerMinute = 29000;
    telemetry.checkerBehindSeconds = 12.5;
    const std::string text = prometheusText(telemetry, std::nullopt, 0);
    for (const char* line :
         {"ravo_server_checker_threads 8\n", "ravo_server_checks_queued 1500\n",
          "# TYPE ravo_server_checks_skipped_total counter\nravo_server_checks_skipped_total 42\n",
          "ravo_server_checker_capacity_per_minute 29000\n",
          "ravo_server_checker_behind_seconds 12.5\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << " in:\n" << text;
}

} // namespace
} // namespace ravo::server
