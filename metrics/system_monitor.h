#pragma once

#include "metrics/core/hardware_info.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"
#include "metrics/core/system_sampler.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class QSettings;
class QTimer;

namespace ravo::common {
class SleepWakeWatcher;
}
namespace ravo::connectivity {
class NetworkPathMonitor;
}

namespace ravo::metrics {

// Samples the machine every 2 s (or as often as the user chose) on the main thread, keeps the last
// minute or two of every gauge and rate for the sparklines, and the user's choice and order of
// metrics.
class SystemMonitor : public QObject {
    Q_OBJECT
public:
    using SteadyNow = std::function<std::chrono::steady_clock::time_point()>;
    using HardwareLoader = std::function<HardwareInfo()>;

    struct Services {
        std::unique_ptr<SystemSampler> sampler;
        connectivity::NetworkPathMonitor* pathMonitor = nullptr;
        common::SleepWakeWatcher* sleepWake = nullptr;
        HardwareLoader loadHardware;
        SteadyNow steadyNow = std::chrono::steady_clock::now;
    };

    SystemMonitor(QSettings* defaults, Services services, QObject* parent = nullptr);
    ~SystemMonitor() override;

    static constexpr int kHistoryLength = 60;
    static constexpr int kIntervalMs = 2000; // unless the user chose otherwise

    void start();
    void stop();
    bool isSampling() const;

    // Seconds between samples, 1 to 10; a change takes effect at once and is stored.
    int refreshSeconds() const { return refreshSeconds_; }
    void setRefreshSeconds(int seconds);

    // The interface and volume the network and disk figures follow; empty is automatic.
    const SourceChoice& sourceChoice() const { return sourceChoice_; }
    void setNetworkInterface(std::string name);
    void setDiskVolume(std::string mountPoint);
    // What the machine offers now, and what to say when a choice is not among it.
    SourceOptions sourceOptions() const;
    std::optional<std::string> sourceChoiceNote() const;

    // Figures as the user reads them: their locale's numbers, degrees in the unit they chose.
    FormatLocale formatLocale() const;
    // "celsius", "fahrenheit", or empty for the region's unit; stored, and the views redraw.
    const std::string& temperatureUnit() const { return temperatureUnit_; }
    void setTemperatureUnit(std::string choice);

    // Gauges sampled for someone other than the views (the user's limits), shown or not.
    void setWatchedMetrics(std::set<SystemMetric> metrics) { watchedMetrics_ = std::move(metrics); }

    void detailDidOpen(SystemMetric metric);
    void detailDidClose(SystemMetric metric);
    // A list of processes outside the details (the terminal dashboard) came into view or
    // went; processes are scanned only while one shows them.
    void processListDidShow();
    void processListDidHide();

    const std::optional<SystemReading>& reading() const { return reading_; }
    std::vector<double> history(SystemMetric metric) const;
    std::vector<double> rateHistory(RateSeries series) const;
    std::vector<bool> connectivityHistory() const;

    const std::set<SystemMetric>& enabledMetrics() const { return enabledMetrics_; }
    void setEnabledMetrics(std::set<SystemMetric> metrics);
    const std::vector<SystemMetric>& metricOrder() const { return metricOrder_; }
    void setMetricOrder(std::vector<SystemMetric> order);
    // Enabled metrics in the user's order. Until the user has chosen, a metric this machine
    // has no source for (no GPU, no sensors) is left out rather than shown empty.
    std::vector<SystemMetric> visibleMetrics() const;
    bool isShown(SystemMetric metric) const;
    // Learned from one reading the first time it is asked.
    const std::set<SystemMetric>& missingSources() const;

    bool isSuspended() const { return isSuspended_; }
    // While suspended, views show `reason` instead of the last figures, which would go
    // stale in plain sight.
    void setSuspended(bool suspended, std::string reason = {});
    const std::string& suspendedReason() const { return suspendedReason_; }
    bool isOnline() const { return isOnline_; }
    const std::optional<HardwareInfo>& hardware() const { return hardware_; }
    const std::set<SystemMetric>& readyDetails() const { return readyDetails_; }

    SampleRequest currentRequest() const;
    // One sample now, outside the cadence; what a tick does.
    void tick();

signals:
    void readingChanged();
    void enabledMetricsChanged();
    void metricOrderChanged();
    void isOnlineChanged(bool online);
    void isSuspendedChanged(bool suspended);
    void hardwareChanged();
    void refreshSecondsChanged();
    void sourceChoiceChanged();
    void formatLocaleChanged();

private:
    void resumeSampling();
    void cancelSampling();
    void record(const SystemReading& reading);
    void loadHardwareOnce();
    void setOnline(bool online);
    void applySourceChoice(SourceChoice choice);

    QSettings* defaults_;
    Services services_;
    std::optional<SystemReading> reading_;
    std::map<SystemMetric, std::deque<double>> history_;
    std::map<RateSeries, std::deque<double>> rateHistory_;
    std::deque<bool> connectivityHistory_;
    std::set<SystemMetric> enabledMetrics_;
    std::vector<SystemMetric> metricOrder_;
    bool userChoseMetrics_ = false;
    mutable std::optional<std::set<SystemMetric>> missingSources_;
    bool isSuspended_ = false;
    std::string suspendedReason_;
    bool isOnline_ = false;
    std::optional<HardwareInfo> hardware_;
    bool hardwareRequested_ = false;
    std::set<SystemMetric> readyDetails_;
    std::set<SystemMetric> openDetails_;
    std::set<SystemMetric> watchedMetrics_;
    int processLists_ = 0;
    QTimer* loop_;
    int refreshSeconds_;
    SourceChoice sourceChoice_;
    FormatLocale environmentLocale_ = FormatLocale::fromEnvironment();
    std::string temperatureUnit_;
    std::optional<std::chrono::steady_clock::time_point> lastTick_;
    bool isTicking_ = false;
    bool started_ = false;
};

} // namespace ravo::metrics
