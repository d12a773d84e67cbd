#include "connectivity/connection_watchdog.h"

#include "common/continuous_timer.h"
#include "common/log_categories.h"
#include "common/settings_values.h"
#include "connectivity/core/connection_notice.h"
#include "connectivity/core/connection_text.h"
#include "connectivity/core/network_probe.h"
#include "connectivity/network_path_monitor.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTimer>

#include <thread>

namespace ravo::connectivity {

// Probes finish on a worker thread after the watchdog may be gone; they find it through
// this, on the main thread.
struct ConnectionWatchdog::Alive {
    ConnectionWatchdog* watchdog;
};

namespace {

UserNotification notificationFor(const ConnectionSettler::Announcement& told) {
    const bool offline = std::holds_alternative<Offline>(told.state);
    const bool troubled = offline || told.unstable;
    return UserNotification{ConnectionNotice::kIdentifier,
                            "connection",
                            told.notice.title,
                            told.notice.body,
                            told.unstable ? "network-error"
                            : offline     ? "network-offline"
                                          : "network-transmit-receive",
                            troubled ? "network.disconnected" : "network"};
}

// RAVO_CONNECTION_SETTLE="hold,window,changes,calm" (seconds but for the count) shortens the
// settling, for tests that flap a real link.
SettleTiming settleTiming(SettleTiming given) {
    const QStringList parts = qEnvironmentVariable("RAVO_CONNECTION_SETTLE").split(',');
    if (parts.size() != 4)
        return given;
    int values[4];
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        values[i] = parts[i].toInt(&ok);
        if (!ok || values[i] < 0)
            return given;
    }
    using std::chrono::seconds;
    return {seconds(values[0]), seconds(values[1]), std::max(values[2], 2), seconds(values[3])};
}

ConnectionSettler::TimePoint now() {
    return std::chrono::steady_clock::now();
}

} // namespace

ProbeAddress ConnectionWatchdog::storedProbeAddress(const QSettings& defaults) {
    auto parsed = ProbeAddress::parse(common::readText(defaults, kProbeAddressSetting));
    return parsed ? parsed.value() : ProbeAddress::parse(ProbeAddress::kDefault).value();
}

ConnectionWatchdog::ConnectionWatchdog(QSettings& defaults, Services services, QObject* parent)
    : QObject(parent), defaults_(defaults), services_(std::move(services)),
      timer_(new common::ContinuousTimer(this)), alive_(std::make_shared<Alive>(Alive{this})),
      settler_((services_.settle = settleTiming(services_.settle))), settleTimer_(new QTimer(this)),
      alertsEnabled_(common::readFlag(defaults, kAlerts)),
      latencyMonitoringEnabled_(common::readFlag(defaults, kLatency)),
      probeAddress_(storedProbeAddress(defaults)) {
    if (!services_.probe)
        services_.probe = [](const ProbeAddress& address) {
            return NetworkProbe::latency(address, 4);
        };
    connect(timer_, &common::ContinuousTimer::timeout, this, &ConnectionWatchdog::evaluate);
    settleTimer_->setSingleShot(true);
    connect(settleTimer_, &QTimer::timeout, this, &ConnectionWatchdog::announce);
}

ConnectionWatchdog::~ConnectionWatchdog() {
    alive_->watchdog = nullptr;
}

void ConnectionWatchdog::start() {
    if (running_)
        return;
    running_ = true;
    if (auto* path = services_.path) {
        connect(path, &NetworkPathMonitor::onlineChanged, this, [this](bool up) {
            apply(evaluator_.recordLink(up));
            evaluate(); // a new path is checked at once
        });
        connect(path, &NetworkPathMonitor::internetBlockedChanged, this,
                &ConnectionWatchdog::evaluate);
        path->start();
        apply(evaluator_.recordLink(path->isOnline()));
    }
    evaluate();
}

void ConnectionWatchdog::stop() {
    running_ = false;
    ++generation_; // a probe under way is forgotten
    probing_ = false;
    evaluateAgain_ = false;
    timer_->stop();
    settleTimer_->stop();
    if (services_.path)
        disconnect(services_.path, nullptr, this, nullptr);
}

void ConnectionWatchdog::restart() {
    if (!running_)
        return;
    stop();
    evaluator_ = {};
    settler_ = ConnectionSettler(services_.settle);
    published_.reset();
    lastLatency_.reset();
    emit stateChanged();
    start();
}

void ConnectionWatchdog::requestAuthorization() {
    if (services_.notifications)
        services_.notifications->requestAuthorization([](const std::string& error) {
            qCWarning(lcConnection).noquote()
                << "Notification authorization failed:" << QString::fromStdString(error);
        });
}

void ConnectionWatchdog::evaluate() {
    if (!running_)
        return;
    timer_->stop();
    const bool linkUp = !services_.path || services_.path->isOnline();
    if (!latencyMonitoringEnabled_ || !linkUp) {
        ++evaluations_;
        apply(linkUp ? evaluator_.recordLink(true) : evaluator_.record(false, std::nullopt));
        scheduleNext();
        return;
    }
    if (probing_) {
        evaluateAgain_ = true;
        return;
    }
    probing_ = true;
    const std::uint64_t generation = generation_;
    std::weak_ptr<Alive> alive = alive_;
    std::thread([probe = services_.probe, address = probeAddress_, alive, generation] {
        auto result = probe(address);
        auto* application = QCoreApplication::instance();
        if (!application)
            return;
        QMetaObject::invokeMethod(
            application,
            [alive, generation, result] {
                if (const auto live = alive.lock(); live && live->watchdog)
                    live->watchdog->finishProbe(generation, result);
            },
            Qt::QueuedConnection);
    }).detach();
}

void ConnectionWatchdog::finishProbe(std::uint64_t generation,
                                     std::optional<LatencySummary> result) {
    if (generation != generation_ || !running_)
        return;
    probing_ = false;
    ++evaluations_;
    const bool linkUp = !services_.path || services_.path->isOnline();
    // A captive portal may well accept the connection; the network manager knows better.
    if (services_.path && services_.path->isInternetBlocked())
        result.reset();
    if (result) {
        qCDebug(lcConnection).noquote() << "Probe:" << qRound64(result->meanMs) << "ms, jitter"
                                        << qRound64(result->jitterMs) << "ms";
        lastLatency_ = result;
        emit measured();
    } else {
        qCDebug(lcConnection) << "Probe: no answer";
    }
    apply(evaluator_.record(linkUp, result));
    if (evaluateAgain_) {
        evaluateAgain_ = false;
        evaluate();
        return;
    }
    scheduleNext();
}

void ConnectionWatchdog::scheduleNext() {
    if (running_)
        timer_->start(evaluator_.isSettled() ? services_.settledInterval
                                             : services_.unsettledInterval);
}

void ConnectionWatchdog::apply(std::optional<ConnectionState> next) {
    if (!next)
        return;
    published_ = next;
    qCInfo(lcConnection).noquote()
        << "Connection state changed:" << QString::fromStdString(rawValue(*next));
    emit stateChanged();
    settler_.record(*next, now());
    announce();
}

void ConnectionWatchdog::announce() {
    settleTimer_->stop();
    while (const auto told = settler_.take(now())) {
        qCInfo(lcConnection).noquote()
            << "Connection notice:" << QString::fromStdString(told->notice.title);
        if (!alertsEnabled_ || !services_.notifications)
            continue;
        services_.notifications->post(notificationFor(*told), [](const std::string& error) {
            qCWarning(lcConnection).noquote()
                << "Notification failed:" << QString::fromStdString(error);
        });
    }
    if (const auto next = settler_.nextCheck(); next && running_) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - now());
        settleTimer_->start(std::max(wait, std::chrono::milliseconds(0)));
    }
}

void ConnectionWatchdog::setAlertsEnabled(bool enabled) {
    defaults_.setValue(kAlertsKey, enabled);
    if (enabled == alertsEnabled_)
        return;
    alertsEnabled_ = enabled;
    emit settingsChanged();
    restart();
}

void ConnectionWatchdog::setLatencyMonitoringEnabled(bool enabled) {
    defaults_.setValue(kLatencyKey, enabled);
    if (enabled == latencyMonitoringEnabled_)
        return;
    latencyMonitoringEnabled_ = enabled;
    emit settingsChanged();
    restart();
}

Status ConnectionWatchdog::setProbeAddress(const std::string& text) {
    auto parsed = ProbeAddress::parse(text);
    if (!parsed)
        return parsed.failure();
    defaults_.setValue(ProbeAddress::kSettingsKey, QString::fromStdString(parsed->text()));
    if (parsed.value() == probeAddress_)
        return success();
    probeAddress_ = std::move(parsed).value();
    emit settingsChanged();
    restart();
    return success();
}

} // namespace ravo::connectivity
