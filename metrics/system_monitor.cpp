#include "metrics/system_monitor.h"

#include "common/log_categories.h"
#include "common/settings_values.h"
#include "common/sleep_wake_watcher.h"
#include "connectivity/network_path_monitor.h"
#include "metrics/core/counter_math.h"
#include "metrics/core/metric_settings.h"
#include "metrics/core/metric_source.h"
#include "metrics/core/sampling_settings.h"
#include "metrics/core/temperature_unit_setting.h"

#include <QSettings>

#include <QTimer>
#include <algorithm>

namespace ravo::metrics {

namespace {

template <typename T> void appendCapped(std::deque<T>& list, T value) {
    list.push_back(value);
    while (list.size() > static_cast<std::size_t>(SystemMonitor::kHistoryLength))
        list.pop_front();
}

template <typename T> std::vector<T> toVector(const std::deque<T>& list) {
    return {list.begin(), list.end()};
}

} // namespace

SystemMonitor::SystemMonitor(QSettings* defaults, Services services, QObject* parent)
    : QObject(parent), defaults_(defaults), services_(std::move(services)), loop_(new QTimer(this)),
      refreshSeconds_(SamplingSettings::intervalSeconds(
          common::readText(*defaults_, SamplingSettings::kInterval))) {
    const auto storedMetrics = common::readStringList(*defaults_, MetricSettings::kEnabledKey);
    userChoseMetrics_ = storedMetrics.has_value();
    enabledMetrics_ = MetricSettings::enabledMetrics(storedMetrics);
    metricOrder_ =
        MetricSettings::metricOrder(common::readStringList(*defaults_, MetricSettings::kOrderKey));
    // Half a second of slack lets the system bundle wake-ups; Qt's coarse timers take 5%.
    loop_->setTimerType(Qt::CoarseTimer);
    loop_->setInterval(refreshSeconds_ * 1000);
    connect(loop_, &QTimer::timeout, this, &SystemMonitor::tick);
    sourceChoice_ = {common::readText(*defaults_, SamplingSettings::kInterface),
                     common::readText(*defaults_, SamplingSettings::kVolume)};
    services_.sampler->setChoice(sourceChoice_);
    temperatureUnit_ = common::readText(*defaults_, TemperatureUnitSetting::kSetting);
}

SystemMonitor::~SystemMonitor() = default;

void SystemMonitor::start() {
    if (started_)
        return;
    started_ = true;
    if (auto* watcher = services_.sleepWake) {
        connect(watcher, &common::SleepWakeWatcher::screensDidSleep, this,
                &SystemMonitor::cancelSampling);
        connect(watcher, &common::SleepWakeWatcher::screensDidWake, this,
                &SystemMonitor::resumeSampling);
    }
    if (auto* path = services_.pathMonitor) {
        connect(path, &connectivity::NetworkPathMonitor::onlineChanged, this,
                &SystemMonitor::setOnline);
        path->start();
        setOnline(path->isOnline());
    }
    resumeSampling();
}

void SystemMonitor::stop() {
    cancelSampling();
    if (services_.sleepWake)
        disconnect(services_.sleepWake, nullptr, this, nullptr);
    if (services_.pathMonitor) {
        disconnect(services_.pathMonitor, nullptr, this, nullptr);
        services_.pathMonitor->stop();
    }
    started_ = false;
}

bool SystemMonitor::isSampling() const {
    return loop_->isActive();
}

void SystemMonitor::setRefreshSeconds(int seconds) {
    seconds = std::clamp(seconds, SamplingSettings::kMinSeconds, SamplingSettings::kMaxSeconds);
    if (seconds == refreshSeconds_)
        return;
    refreshSeconds_ = seconds;
    defaults_->setValue(common::keyOf(SamplingSettings::kInterval), QString::number(seconds));
    // A running timer restarts with the new interval: the next sample comes a whole one later.
    loop_->setInterval(seconds * 1000);
    qCInfo(lcMetrics).noquote() << "Sampling every" << seconds << "s";
    emit refreshSecondsChanged();
}

FormatLocale SystemMonitor::formatLocale() const {
    return TemperatureUnitSetting::applied(environmentLocale_, temperatureUnit_);
}

void SystemMonitor::setTemperatureUnit(std::string choice) {
    if (choice == temperatureUnit_)
        return;
    temperatureUnit_ = std::move(choice);
    if (temperatureUnit_.empty())
        defaults_->remove(common::keyOf(TemperatureUnitSetting::kSetting));
    else
        defaults_->setValue(common::keyOf(TemperatureUnitSetting::kSetting),
                            QString::fromStdString(temperatureUnit_));
    emit formatLocaleChanged();
}

void SystemMonitor::setNetworkInterface(std::string name) {
    defaults_->setValue(common::keyOf(SamplingSettings::kInterface), QString::fromStdString(name));
    applySourceChoice({std::move(name), sourceChoice_.volume});
}

void SystemMonitor::setDiskVolume(std::string mountPoint) {
    defaults_->setValue(common::keyOf(SamplingSettings::kVolume),
                        QString::fromStdString(mountPoint));
    applySourceChoice({sourceChoice_.interface, std::move(mountPoint)});
}

void SystemMonitor::applySourceChoice(SourceChoice choice) {
    if (choice == sourceChoice_)
        return;
    sourceChoice_ = std::move(choice);
    services_.sampler->setChoice(sourceChoice_);
    emit sourceChoiceChanged();
}

SourceOptions SystemMonitor::sourceOptions() const {
    return services_.sampler->options();
}

std::optional<std::string> SystemMonitor::sourceChoiceNote() const {
    return SamplingSettings::missingChoiceNote(sourceChoice_, sourceOptions());
}

void SystemMonitor::resumeSampling() {
    if (loop_->isActive())
        return;
    loop_->start();
    tick();
}

void SystemMonitor::cancelSampling() {
    loop_->stop();
}

SampleRequest SystemMonitor::currentRequest() const {
    SampleRequest request;
    for (SystemMetric metric : enabledMetrics_)
        if (isShown(metric))
            request = request | SampleRequest::forItem(metric);
    for (SystemMetric metric : openDetails_)
        request = request | SampleRequest::forDetail(metric);
    for (SystemMetric metric : watchedMetrics_)
        request = request | SampleRequest::forItem(metric);
    if (processLists_ > 0)
        request = request | SampleRequest{SampleRequest::processes};
    return request;
}

void SystemMonitor::tick() {
    if (isTicking_)
        return;
    isTicking_ = true;
    reading_ = services_.sampler->sample(currentRequest());
    record(*reading_);
    lastTick_ = services_.steadyNow();
    isTicking_ = false;
    emit readingChanged();
}

void SystemMonitor::record(const SystemReading& reading) {
    for (SystemMetric metric : kAllMetrics)
        if (const auto fraction = reading.fraction(metric))
            appendCapped(history_[metric], *fraction);
    for (RateSeries series : kAllRateSeries)
        if (const auto rate = reading.rate(series))
            appendCapped(rateHistory_[series], *rate);
    appendCapped(connectivityHistory_, isOnline_);
}

std::vector<double> SystemMonitor::history(SystemMetric metric) const {
    const auto it = history_.find(metric);
    return it == history_.end() ? std::vector<double>{} : toVector(it->second);
}

std::vector<double> SystemMonitor::rateHistory(RateSeries series) const {
    const auto it = rateHistory_.find(series);
    return it == rateHistory_.end() ? std::vector<double>{} : toVector(it->second);
}

std::vector<bool> SystemMonitor::connectivityHistory() const {
    return toVector(connectivityHistory_);
}

void SystemMonitor::detailDidOpen(SystemMetric metric) {
    openDetails_.insert(metric);
    readyDetails_.insert(metric);
    loadHardwareOnce();
    const bool fresh =
        lastTick_ && services_.steadyNow() - *lastTick_ < std::chrono::milliseconds(500);
    if (loop_->isActive() && !isTicking_ && !fresh) {
        // The opened detail shows fresh data now instead of at the next tick.
        cancelSampling();
        resumeSampling();
    }
}

void SystemMonitor::detailDidClose(SystemMetric metric) {
    openDetails_.erase(metric);
}

void SystemMonitor::processListDidShow() {
    ++processLists_;
}

void SystemMonitor::processListDidHide() {
    processLists_ = std::max(0, processLists_ - 1);
}

void SystemMonitor::loadHardwareOnce() {
    if (hardwareRequested_ || !services_.loadHardware)
        return;
    hardwareRequested_ = true;
    QTimer::singleShot(0, this, [this] {
        hardware_ = services_.loadHardware();
        emit hardwareChanged();
    });
}

void SystemMonitor::setEnabledMetrics(std::set<SystemMetric> metrics) {
    // Choosing what is already on still counts: it shows what the machine lacks.
    if (metrics == enabledMetrics_ && userChoseMetrics_)
        return;
    enabledMetrics_ = std::move(metrics);
    userChoseMetrics_ = true;
    common::writeStringList(*defaults_, MetricSettings::kEnabledKey,
                            MetricSettings::toStored(enabledMetrics_));
    emit enabledMetricsChanged();
}

void SystemMonitor::setMetricOrder(std::vector<SystemMetric> order) {
    order = MetricOrder::normalized(order);
    if (order == metricOrder_)
        return;
    metricOrder_ = std::move(order);
    common::writeStringList(*defaults_, MetricSettings::kOrderKey,
                            MetricSettings::toStored(metricOrder_));
    emit metricOrderChanged();
}

std::vector<SystemMetric> SystemMonitor::visibleMetrics() const {
    std::vector<SystemMetric> visible;
    for (SystemMetric metric : metricOrder_)
        if (isShown(metric))
            visible.push_back(metric);
    return visible;
}

bool SystemMonitor::isShown(SystemMetric metric) const {
    return enabledMetrics_.contains(metric) &&
           (userChoseMetrics_ || !missingSources().contains(metric));
}

const std::set<SystemMetric>& SystemMonitor::missingSources() const {
    if (!missingSources_)
        missingSources_ = metrics::missingSources(services_.sampler->sample(kSourceProbe));
    return *missingSources_;
}

void SystemMonitor::setSuspended(bool suspended, std::string reason) {
    suspendedReason_ = suspended ? std::move(reason) : std::string();
    if (suspended == isSuspended_)
        return;
    isSuspended_ = suspended;
    emit isSuspendedChanged(suspended);
}

void SystemMonitor::setOnline(bool online) {
    if (online == isOnline_)
        return;
    isOnline_ = online;
    emit isOnlineChanged(online);
}

} // namespace ravo::metrics
