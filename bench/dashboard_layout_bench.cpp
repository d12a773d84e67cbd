#include "ui/terminal/dashboard_layout.h"

#include <benchmark/benchmark.h>

#include <clocale>

using namespace ravo;
using namespace ravo::ui;
using namespace ravo::metrics;

namespace {

// A frame as a busy machine gives it after twenty minutes: every metric with a full
// history, sixteen cores, the process lists, two providers and a dozen sessions.
DashboardFrame busyFrame(int width, int height) {
    DashboardFrame frame;
    frame.width = width;
    frame.height = height;
    frame.now = fromUnixSeconds(1'800'000'000);
    SystemReading reading;
    reading.date = frame.now;
    reading.cpu = CPULoad{0.3, 0.1, {}};
    for (int core = 0; core < 16; ++core)
        reading.cpu->perCore.push_back(core / 15.0);
    reading.memory = MemoryUsage{100, 75, 0, 0, 0, 0, 0.75, MemoryPressureLevel::warning};
    reading.disk = DiskUsage{1000, 400, {}, {}, {}};
    reading.network = NetworkUsage{1'500'000, 20'000, {}, {}};
    reading.temperatures = Temperatures{61.0, {}, {}, {}, {}};
    TopProcesses processes;
    for (int i = 0; i < 5; ++i) {
        processes.byCpu.push_back({"worker-" + std::to_string(i), 100 + i, 90.0 - i, 1u << 24});
        processes.byMemory.push_back({"cache-" + std::to_string(i), 200 + i, 1.0, 1u << 30});
    }
    reading.processes = processes;
    frame.reading = reading;
    frame.metrics = {SystemMetric::cpu,  SystemMetric::gpu,     SystemMetric::memory,
                     SystemMetric::disk, SystemMetric::network, SystemMetric::temperature};
    for (SystemMetric metric : frame.metrics)
        for (int i = 0; i < 600; ++i)
            frame.history[metric].push_back((i % 100) / 100.0);
    for (int i = 0; i < 600; ++i)
        frame.rateHistory[RateSeries::networkIn].push_back(1000.0 * (i % 37));
    frame.online = true;
    usage::UsageSnapshot snapshot;
    for (auto provider : {usage::Provider::claude, usage::Provider::codex}) {
        usage::ProviderReading limits;
        for (int minutes : {300, 10080}) {
            usage::UsageWindow window;
            window.id = std::to_string(minutes);
            window.minutes = minutes;
            window.usedPercent = 42;
            window.resetsAt = frame.now + std::chrono::minutes(90);
            limits.windows.push_back(window);
        }
        snapshot.apply(limits, provider, frame.now);
    }
    frame.usage = snapshot;
    frame.tracksSessions = true;
    for (int i = 0; i < 12; ++i) {
        sessions::AgentSession session;
        session.sessionID = "s" + std::to_string(i);
        session.project = "project-" + std::to_string(i);
        session.state = sessions::AgentSession::State::running;
        session.updatedAt = session.turnStartedAt = frame.now - std::chrono::minutes(i);
        frame.sessions.push_back(session);
    }
    return frame;
}

// One frame laid out on the last one's cells, as the dashboard does every two seconds.
void BM_LayoutFrame(benchmark::State& state) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const auto frame =
        busyFrame(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    ScreenGrid canvas(0, 0);
    for (auto _ : state) {
        DashboardScreen screen = layoutDashboard(frame, {}, {}, std::move(canvas));
        benchmark::DoNotOptimize(screen.areas.data());
        canvas = std::move(screen.grid);
    }
}
BENCHMARK(BM_LayoutFrame)->Args({80, 24})->Args({200, 60})->Args({320, 90});

} // namespace

BENCHMARK_MAIN();
