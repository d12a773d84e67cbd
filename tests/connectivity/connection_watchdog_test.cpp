#include "connectivity/connection_watchdog.h"
#include "tests/support/fake_path_monitor.h"
#include "tests/support/recording_notifications.h"
#include "tests/support/temporary_folder.h"

#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <deque>
#include <mutex>

namespace ravo::connectivity {
namespace {

using namespace std::chrono_literals;

// Probe results in the order the test wants them; the last one repeats.
class ScriptedProbe {
public:
    void push(std::initializer_list<std::optional<LatencySummary>> results) {
        const std::lock_guard lock(mutex_);
        for (const auto& result : results)
            queue_.push_back(result);
    }
    std::optional<LatencySummary> next(const ProbeAddress& address) {
        const std::lock_guard lock(mutex_);
        ++calls_;
        addresses_.push_back(address);
        if (queue_.size() > 1) {
            auto result = queue_.front();
            queue_.pop_front();
            return result;
        }
        return queue_.empty() ? std::nullopt : queue_.front();
    }
    // Probes run on threads of their own; the test waits for them before it ends.
    void waitForCalls() {
        for (int i = 0; i < 100; ++i) {
            QTest::qWait(20);
            const std::lock_guard lock(mutex_);
            if (finished_ == calls_)
                return;
        }
    }
    void finished() {
        const std::lock_guard lock(mutex_);
        ++finished_;
    }
    std::vector<ProbeAddress> addresses() {
        const std::lock_guard lock(mutex_);
        return addresses_;
    }

private:
    std::mutex mutex_;
    std::deque<std::optional<LatencySummary>> queue_;
    std::vector<ProbeAddress> addresses_;
    int calls_ = 0;
    int finished_ = 0;
};

const std::optional<LatencySummary> kGood = LatencySummary{20, 3};
const std::optional<LatencySummary> kFailed = std::nullopt;
std::optional<LatencySummary> slow(double latency, double jitter) {
    return LatencySummary{latency, jitter};
}

class ConnectionWatchdogTest : public ::testing::Test {
protected:
    std::unique_ptr<ConnectionWatchdog> makeWatchdog() {
        ConnectionWatchdog::Services services;
        services.path = &path;
        services.notifications = &notifications;
        services.probe = [this](const ProbeAddress& address) {
            auto result = probe.next(address);
            probe.finished();
            return result;
        };
        // Long enough that a test sees each evaluation on its own.
        services.settledInterval = 400ms;
        services.unsettledInterval = 150ms;
        // Told at once, so each state's notice shows beside it; settling has tests of its own.
        services.settle.hold = 0ms;
        return std::make_unique<ConnectionWatchdog>(defaults, std::move(services));
    }
    void TearDown() override { probe.waitForCalls(); }
    // Waits for the evaluation after `count` finished ones.
    void waitForEvaluation(const ConnectionWatchdog& watchdog, int count) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return watchdog.evaluations() >= count; }, 5000))
            << "only " << watchdog.evaluations() << " evaluations";
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> list;
        for (const auto& posted : notifications.posted)
            list.push_back(posted.title);
        return list;
    }

    testing::TemporaryFolder folder;
    QSettings defaults{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    testing::FakePathMonitor path;
    testing::RecordingNotifications notifications;
    ScriptedProbe probe;
};

TEST_F(ConnectionWatchdogTest, AStartOnlineIsQuietAndALostLinkIsToldAtOnce) {
    probe.push({kGood});
    auto watchdog = makeWatchdog();
    watchdog->start();
    waitForEvaluation(*watchdog, 1);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}});
    EXPECT_TRUE(notifications.posted.empty()); // starting up is not a recovery

    path.set(false);
    EXPECT_EQ(watchdog->state(), ConnectionState{Offline{false}});
    ASSERT_EQ(notifications.posted.size(), 1u);
    EXPECT_EQ(notifications.posted[0].identifier, "connection-state");
    EXPECT_EQ(notifications.posted[0].title, "You're offline");
    EXPECT_EQ(notifications.posted[0].body, "The computer has no network connection.");

    path.set(true);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}});
    ASSERT_EQ(notifications.posted.size(), 2u);
    EXPECT_EQ(notifications.posted[1].title, "Connection restored");
    EXPECT_EQ(notifications.posted[1].body, "The internet connection works normally again.");
}

TEST_F(ConnectionWatchdogTest, TwoSlowProbesMakeAPoorConnectionAndTwoGoodOnesEndIt) {
    probe.push({kGood, slow(300, 10), slow(412.6, 90.2), slow(500, 5), kGood, kGood});
    auto watchdog = makeWatchdog();
    watchdog->start();
    waitForEvaluation(*watchdog, 2);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}}) << "one slow probe changes nothing";
    waitForEvaluation(*watchdog, 3);
    EXPECT_EQ(watchdog->state(), (ConnectionState{Degraded{412.6, 90.2}}));
    EXPECT_EQ(watchdog->lastLatency(), slow(412.6, 90.2));
    ASSERT_EQ(titles(), std::vector<std::string>{"Poor connection"});
    EXPECT_EQ(notifications.posted[0].body, "Latency 412 ms, jitter 90 ms.");
    waitForEvaluation(*watchdog, 5);
    EXPECT_EQ(watchdog->state(), (ConnectionState{Degraded{412.6, 90.2}}))
        << "one good probe does not end a poor connection";
    waitForEvaluation(*watchdog, 6);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}});
    EXPECT_EQ(titles(), (std::vector<std::string>{"Poor connection", "Connection restored"}));
}

TEST_F(ConnectionWatchdogTest, FailedProbesOrTheNetworkManagersWordMeanNoInternet) {
    probe.push({kGood, kFailed, kFailed, kGood});
    auto watchdog = makeWatchdog();
    watchdog->start();
    waitForEvaluation(*watchdog, 2);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}});
    waitForEvaluation(*watchdog, 3);
    EXPECT_EQ(watchdog->state(), ConnectionState{Offline{true}});
    ASSERT_FALSE(notifications.posted.empty());
    EXPECT_EQ(notifications.posted.back().body,
              "Connected to the network, but the internet isn't reachable.");
    waitForEvaluation(*watchdog, 4);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}}) << "one good probe is enough";

    // A captive portal lets the probe through; the network manager knows better.
    path.setBlocked(true);
    const int before = watchdog->evaluations();
    waitForEvaluation(*watchdog, before + 2);
    EXPECT_EQ(watchdog->state(), ConnectionState{Offline{true}});
}

TEST_F(ConnectionWatchdogTest, WithoutLatencyMonitoringOnlyTheLinkCounts) {
    probe.push({slow(900, 500)});
    auto watchdog = makeWatchdog();
    watchdog->start();
    waitForEvaluation(*watchdog, 1);
    const auto probed = probe.addresses().size();
    int cleared = 0;
    QObject::connect(watchdog.get(), &ConnectionWatchdog::stateChanged, [&] {
        if (!watchdog->state())
            ++cleared;
    });
    watchdog->setLatencyMonitoringEnabled(false);
    EXPECT_EQ(cleared, 1) << "a changed setting starts over from unknown";
    EXPECT_FALSE(defaults.value(ConnectionWatchdog::kLatencyKey).toBool());
    waitForEvaluation(*watchdog, watchdog->evaluations() + 3);
    EXPECT_EQ(watchdog->state(), ConnectionState{Online{}});
    EXPECT_LE(probe.addresses().size(), probed + 1); // at most the one under way
    EXPECT_TRUE(notifications.posted.empty());

    // A new watchdog reads the stored switch.
    EXPECT_FALSE(makeWatchdog()->latencyMonitoringEnabled());
}

TEST_F(ConnectionWatchdogTest, WithAlertsOffStatesAreKeptButNothingIsPosted) {
    probe.push({kGood});
    auto watchdog = makeWatchdog();
    watchdog->setAlertsEnabled(false);
    watchdog->start();
    waitForEvaluation(*watchdog, 1);
    path.set(false);
    EXPECT_EQ(watchdog->state(), ConnectionState{Offline{false}});
    path.set(true);
    EXPECT_TRUE(notifications.posted.empty());
    EXPECT_FALSE(defaults.value(ConnectionWatchdog::kAlertsKey).toBool());
}

TEST_F(ConnectionWatchdogTest, TheProbeGoesWhereTheSettingSays) {
    probe.push({kGood});
    auto watchdog = makeWatchdog();
    EXPECT_EQ(watchdog->probeAddress().text(), "1.1.1.1:443");
    watchdog->start();
    waitForEvaluation(*watchdog, 1);

    const Status refused = watchdog->setProbeAddress("resolver.example");
    EXPECT_EQ(refused.error(), "Give the address as host:port, for example 1.1.1.1:443.");
    EXPECT_FALSE(defaults.contains(ProbeAddress::kSettingsKey));

    ASSERT_TRUE(watchdog->setProbeAddress(" 10.0.0.53:853 ").ok());
    EXPECT_EQ(defaults.value(ProbeAddress::kSettingsKey).toString(), "10.0.0.53:853");
    waitForEvaluation(*watchdog, watchdog->evaluations() + 1);
    EXPECT_EQ(probe.addresses().back(), (ProbeAddress{"10.0.0.53", 853}));
    EXPECT_EQ(makeWatchdog()->probeAddress(), (ProbeAddress{"10.0.0.53", 853}));

    // A stored value that cannot be read falls back to the default.
    defaults.setValue(ProbeAddress::kSettingsKey, "::::");
    EXPECT_EQ(makeWatchdog()->probeAddress().text(), "1.1.1.1:443");
}

} // namespace
} // namespace ravo::connectivity
