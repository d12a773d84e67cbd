#pragma once

#include "base/result.h"
#include "base/user_notifications.h"
#include "connectivity/core/connection_evaluator.h"
#include "connectivity/core/connection_settler.h"
#include "connectivity/core/probe_address.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QSettings;
class QTimer;

namespace ravo::common {
class ContinuousTimer;
}

namespace ravo::connectivity {

class NetworkPathMonitor;

// Tells the user when the network goes, when the internet is out of reach behind a working
// link, when the connection turns poor and when it recovers: path changes and a small TCP
// probe run through the evaluator, and every new state becomes a notification.
class ConnectionWatchdog : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kAlertsKey = "connectionAlertsEnabled";
    static constexpr const char* kLatencyKey = "latencyMonitoringEnabled";
    static constexpr Setting kAlerts{
        kAlertsKey, Setting::Kind::flag,
        "a notification when the connection drops, turns poor or recovers", true, true};
    static constexpr Setting kLatency{kLatencyKey, Setting::Kind::flag,
                                      "the latency probe once a minute", true, true};
    static constexpr const char* kLatencyText =
        "Monitor latency and notify when the connection is poor";
    static constexpr const char* kLatencyNote =
        "Latency is checked once a minute with a tiny TCP connection to";

    using Probe = std::function<std::optional<LatencySummary>(const ProbeAddress&)>;
    struct Services {
        NetworkPathMonitor* path = nullptr;
        UserNotifications* notifications = nullptr;
        // Runs on a worker thread; four timed connections by default.
        Probe probe;
        std::chrono::milliseconds settledInterval{60'000};
        std::chrono::milliseconds unsettledInterval{20'000};
        // How long a state must last before it is told, and what counts as flapping.
        SettleTiming settle;
    };

    ConnectionWatchdog(QSettings& defaults, Services services, QObject* parent = nullptr);
    ~ConnectionWatchdog() override;

    void start();
    void stop();
    bool isRunning() const { return running_; }
    void requestAuthorization();

    const std::optional<ConnectionState>& state() const { return published_; }
    // The latest probe's figures, shown beside the state.
    const std::optional<LatencySummary>& lastLatency() const { return lastLatency_; }
    int evaluations() const { return evaluations_; }

    bool alertsEnabled() const { return alertsEnabled_; }
    void setAlertsEnabled(bool enabled);
    bool latencyMonitoringEnabled() const { return latencyMonitoringEnabled_; }
    void setLatencyMonitoringEnabled(bool enabled);
    const ProbeAddress& probeAddress() const { return probeAddress_; }
    // The setting as stored, the default where it is missing or unreadable.
    static ProbeAddress storedProbeAddress(const QSettings& defaults);
    Status setProbeAddress(const std::string& text);

signals:
    void stateChanged();
    void measured();
    void settingsChanged();

private:
    struct Alive;
    void restart();
    void evaluate();
    void finishProbe(std::uint64_t generation, std::optional<LatencySummary> result);
    void scheduleNext();
    void apply(std::optional<ConnectionState> next);
    void announce();

    QSettings& defaults_;
    Services services_;
    common::ContinuousTimer* timer_;
    std::shared_ptr<Alive> alive_;
    ConnectionEvaluator evaluator_;
    ConnectionSettler settler_;
    QTimer* settleTimer_;
    std::optional<ConnectionState> published_;
    std::optional<LatencySummary> lastLatency_;
    bool alertsEnabled_;
    bool latencyMonitoringEnabled_;
    ProbeAddress probeAddress_;
    bool running_ = false;
    bool probing_ = false;
    bool evaluateAgain_ = false;
    std::uint64_t generation_ = 0;
    int evaluations_ = 0;
};

} // namespace ravo::connectivity
