#include "common/settings_values.h"
#include "common/sleep_wake_watcher.h"
#include "connectivity/network_path_monitor.h"
#include "metrics/system_monitor.h"
#include "tests/metrics/recorded_counter_source.h"
#include "tests/support/fake_path_monitor.h"
#include "tests/support/temporary_folder.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

using metrics::testing::RecordedCounterSource;

using ravo::testing::FakePathMonitor;

class SystemMonitorTest : public ::testing::Test {
protected:
    std::unique_ptr<SystemMonitor> makeMonitor(QSettings* defaults = nullptr) {
        auto source = std::make_unique<RecordedCounterSource>(&calls);
        source->gpuValue = gpu;
        source->temperatureValue = temperatures;
        source->ticks = {{{0, 0, 0, 0}}};
        source->memoryValue = MemoryUsage{100, 50, 0, 0, 0, 0, 0, MemoryPressureLevel::normal};
        source->swapValue = swap;
        source->spaces = {{100, 80, {}}};
        source->networks = {{}};
        SystemMonitor::Services services;
        services.sampler = std::make_unique<SystemSampler>(std::move(source));
        services.pathMonitor = &path;
        services.sleepWake = &sleepWake;
        services.loadHardware = [this] {
            ++hardwareLoads;
            return HardwareInfo{"Test chip", 2, 2, {}, std::nullopt, std::nullopt, std::nullopt};
        };
        services.steadyNow = [this] { return steadyNow; };
        return std::make_unique<SystemMonitor>(defaults ? defaults : &settings,
                                               std::move(services));
    }

    ravo::testing::TemporaryFolder folder;
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    RecordedCounterSource::Calls calls;
    std::optional<GPUUtilization> gpu = GPUUtilization{0.2, {}, {}};
    TemperatureReadings temperatures{{{"Tp01", 50}}, {}};
    std::optional<SwapUsage> swap = SwapUsage{1000, 250};
    FakePathMonitor path;
    common::SleepWakeWatcher sleepWake;
    int hardwareLoads = 0;
    std::chrono::steady_clock::time_point steadyNow{std::chrono::seconds(1000)};
};

TEST_F(SystemMonitorTest, MissingSettingsEnableEverythingAndAnEmptyListNothing) {
    EXPECT_EQ(makeMonitor()->enabledMetrics().size(), kAllMetrics.size());
    settings.setValue("enabledSystemMetrics", QStringList{});
    settings.sync();
    QSettings reread(settings.fileName(), QSettings::IniFormat);
    EXPECT_EQ(common::readStringList(reread, "enabledSystemMetrics"), std::vector<std::string>{});
    auto monitor = makeMonitor();
    EXPECT_TRUE(monitor->enabledMetrics().empty());
    EXPECT_EQ(monitor->currentRequest(), SampleRequest{});
}

TEST_F(SystemMonitorTest, WhatTheMachineLacksIsLeftOutUntilTheUserChoosesIt) {
    gpu.reset();
    temperatures = {};
    swap = SwapUsage{}; // no swap space
    auto monitor = makeMonitor();
    EXPECT_EQ(
        monitor->missingSources(),
        (std::set<SystemMetric>{SystemMetric::gpu, SystemMetric::temperature, SystemMetric::swap}));
    EXPECT_EQ(monitor->visibleMetrics(),
              (std::vector<SystemMetric>{SystemMetric::cpu, SystemMetric::memory,
                                         SystemMetric::disk, SystemMetric::network}));
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::gpu));
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::temperatures));
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::swap));
    // Asked once, not on every tick.
    const int gpuReads = calls.gpu;
    monitor->tick();
    monitor->tick();
    EXPECT_EQ(calls.gpu, gpuReads);

    // Ticked on purpose, it is shown even empty, and stays so after a restart.
    monitor->setEnabledMetrics({kAllMetrics.begin(), kAllMetrics.end()});
    EXPECT_EQ(monitor->visibleMetrics().size(), kAllMetrics.size());
    monitor.reset();
    EXPECT_EQ(makeMonitor()->visibleMetrics().size(), kAllMetrics.size());
}

TEST_F(SystemMonitorTest, AMachineWithAGpuSensorsAndSwapShowsEverything) {
    auto monitor = makeMonitor();
    EXPECT_TRUE(monitor->missingSources().empty());
    EXPECT_EQ(monitor->visibleMetrics().size(), kAllMetrics.size());
    EXPECT_TRUE(monitor->currentRequest().contains(SampleRequest::swap));
    monitor->tick();
    EXPECT_EQ(monitor->history(SystemMetric::swap), std::vector<double>{0.25});
}

TEST_F(SystemMonitorTest, SettersWriteTheirKeysAndSurviveARestart) {
    {
        auto monitor = makeMonitor();
        monitor->setEnabledMetrics({SystemMetric::memory, SystemMetric::network});
        monitor->setMetricOrder({SystemMetric::network, SystemMetric::memory});
    }
    settings.sync();
    auto monitor = makeMonitor();
    EXPECT_EQ(monitor->visibleMetrics(),
              (std::vector<SystemMetric>{SystemMetric::network, SystemMetric::memory}));
    EXPECT_EQ(monitor->metricOrder().size(), kAllMetrics.size());
    EXPECT_EQ(monitor->currentRequest(),
              (SampleRequest{SampleRequest::memory | SampleRequest::network}));
}

TEST_F(SystemMonitorTest, GarbageInTheSettingsFallsBackInsteadOfFailing) {
    const QString path = QString::fromStdString((folder / "garbage.conf").string());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[General]\nenabledSystemMetrics=42\nsystemMetricOrder=disk, nonsense, disk\n");
    file.close();
    QSettings garbage(path, QSettings::IniFormat);
    auto monitor = makeMonitor(&garbage);
    EXPECT_TRUE(monitor->enabledMetrics().empty()); // "42" names no metric
    EXPECT_EQ(monitor->metricOrder().front(), SystemMetric::disk);
    EXPECT_EQ(monitor->metricOrder().size(), kAllMetrics.size());
}

TEST_F(SystemMonitorTest, HistoriesKeepTheNewestSixtyValues) {
    auto monitor = makeMonitor();
    for (int i = 0; i < 61; ++i)
        monitor->tick();
    EXPECT_EQ(monitor->history(SystemMetric::memory).size(), 60u);
    EXPECT_EQ(monitor->history(SystemMetric::disk).size(), 60u);
    EXPECT_EQ(monitor->connectivityHistory().size(), 60u);
    EXPECT_TRUE(monitor->history(SystemMetric::temperature).empty()); // no gauge
    EXPECT_EQ(monitor->rateHistory(RateSeries::networkIn).size(), 60u);
    EXPECT_DOUBLE_EQ(monitor->history(SystemMetric::memory).back(), 0.5);
}

TEST_F(SystemMonitorTest, StartSamplesAtOnceAndResumeNeverStartsASecondLoop) {
    auto monitor = makeMonitor();
    QSignalSpy readings(monitor.get(), &SystemMonitor::readingChanged);
    monitor->start();
    EXPECT_TRUE(monitor->isSampling());
    EXPECT_EQ(readings.count(), 1);
    monitor->start();
    emit sleepWake.screensDidWake(); // resume while running
    EXPECT_EQ(readings.count(), 1);
    monitor->stop();
    EXPECT_FALSE(monitor->isSampling());
}

TEST_F(SystemMonitorTest, TheRefreshIntervalIsReadAtStartAndChangesTheRunningLoop) {
    settings.setValue("systemRefreshSeconds", "5");
    auto monitor = makeMonitor();
    auto* loop = monitor->findChild<QTimer*>();
    ASSERT_NE(loop, nullptr);
    EXPECT_EQ(monitor->refreshSeconds(), 5);
    EXPECT_EQ(loop->interval(), 5000);
    monitor->start();
    QSignalSpy changed(monitor.get(), &SystemMonitor::refreshSecondsChanged);
    QSignalSpy readings(monitor.get(), &SystemMonitor::readingChanged);
    monitor->setRefreshSeconds(1);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_TRUE(loop->isActive()) << "a change never stops the sampling";
    EXPECT_EQ(loop->interval(), 1000);
    EXPECT_EQ(settings.value("systemRefreshSeconds").toString(), "1");
    EXPECT_TRUE(readings.wait(1500)) << "the next sample comes within the new interval";
    // Out of range is held to the range; the same value again is no change.
    monitor->setRefreshSeconds(60);
    EXPECT_EQ(monitor->refreshSeconds(), 10);
    monitor->setRefreshSeconds(10);
    EXPECT_EQ(changed.count(), 2);
    settings.setValue("systemRefreshSeconds", "nonsense");
    EXPECT_EQ(makeMonitor()->refreshSeconds(), 2);
}

TEST_F(SystemMonitorTest, SamplingPausesWhileTheScreensSleep) {
    auto monitor = makeMonitor();
    QSignalSpy readings(monitor.get(), &SystemMonitor::readingChanged);
    monitor->start();
    emit sleepWake.screensDidSleep();
    EXPECT_FALSE(monitor->isSampling());
    emit sleepWake.screensDidWake();
    EXPECT_TRUE(monitor->isSampling());
    EXPECT_EQ(readings.count(), 2); // a fresh sample on wake
}

TEST_F(SystemMonitorTest, OpeningADetailRestartsOnlyWhenTheLastTickIsHalfASecondOld) {
    auto monitor = makeMonitor();
    QSignalSpy readings(monitor.get(), &SystemMonitor::readingChanged);
    monitor->start();
    ASSERT_EQ(readings.count(), 1);
    steadyNow += std::chrono::milliseconds(300);
    monitor->detailDidOpen(SystemMetric::disk);
    EXPECT_EQ(readings.count(), 1);
    steadyNow += std::chrono::milliseconds(300);
    monitor->detailDidOpen(SystemMetric::cpu);
    EXPECT_EQ(readings.count(), 2);
    EXPECT_TRUE(monitor->isSampling());
    EXPECT_TRUE(monitor->currentRequest().contains(SampleRequest::diskActivity));
    monitor->detailDidClose(SystemMetric::disk);
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::diskActivity));
}

TEST_F(SystemMonitorTest, ProcessesAreScannedOnlyWhileTheirListIsOpen) {
    auto monitor = makeMonitor();
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->detailDidOpen(SystemMetric::memory);
    monitor->detailDidOpen(SystemMetric::cpu);
    EXPECT_TRUE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->detailDidClose(SystemMetric::memory);
    EXPECT_TRUE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->detailDidClose(SystemMetric::cpu);
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->detailDidOpen(SystemMetric::disk);
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->processListDidShow();
    EXPECT_TRUE(monitor->currentRequest().contains(SampleRequest::processes));
    monitor->processListDidHide();
    EXPECT_FALSE(monitor->currentRequest().contains(SampleRequest::processes));
}

TEST_F(SystemMonitorTest, HardwareIsLoadedOnceOnTheFirstDetail) {
    auto monitor = makeMonitor();
    QSignalSpy loaded(monitor.get(), &SystemMonitor::hardwareChanged);
    monitor->detailDidOpen(SystemMetric::cpu);
    monitor->detailDidOpen(SystemMetric::gpu);
    ASSERT_TRUE(loaded.wait(1000));
    EXPECT_EQ(hardwareLoads, 1);
    EXPECT_EQ(monitor->hardware()->chipName, "Test chip");
}

TEST_F(SystemMonitorTest, OnlineFlagFollowsThePathMonitorIntoTheHistory) {
    auto monitor = makeMonitor();
    monitor->start();
    EXPECT_TRUE(monitor->isOnline());
    path.set(false);
    EXPECT_FALSE(monitor->isOnline());
    monitor->tick();
    EXPECT_EQ(monitor->connectivityHistory(), (std::vector<bool>{true, false}));
}

} // namespace
} // namespace ravo::metrics
