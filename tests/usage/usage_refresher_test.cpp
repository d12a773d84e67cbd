#include "tests/support/scripted_provider.h"
#include "tests/support/temporary_folder.h"
#include "usage/usage_refresher.h"

#include <QSettings>
#include <QTimer>
#include <gtest/gtest.h>
#include <qcoro/qcorotask.h>
#include <qcoro/qcorotimer.h>

namespace ravo::usage {
namespace {

using testing::ScriptedProvider;

ProviderReading reading(double used) {
    ProviderReading r;
    UsageWindow w;
    w.id = "w";
    w.usedPercent = used;
    r.windows = {w};
    return r;
}

class UsageRefresherTest : public ::testing::Test {
protected:
    std::unique_ptr<UsageRefresher> make(std::optional<UsageSnapshot> saved = std::nullopt,
                                         bool publishFails = false) {
        UsageRefresher::Providers providers{{Provider::claude, claude}, {Provider::codex, codex}};
        return std::make_unique<UsageRefresher>(
            providers, [saved] { return saved; },
            [this, publishFails](const UsageSnapshot& s) -> Status {
                if (publishFails)
                    return ravo::Failure{"disk full"};
                published.push_back(s);
                return success();
            },
            &settings, [this] { return now; });
    }

    std::shared_ptr<ScriptedProvider> claude = std::make_shared<ScriptedProvider>();
    std::shared_ptr<ScriptedProvider> codex = std::make_shared<ScriptedProvider>();
    std::vector<UsageSnapshot> published;
    ravo::testing::TemporaryFolder folder;
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    TimePoint now = *parseIso8601("2026-05-01T10:00:00Z");
};

// A provider that fails the way code does, not the way the protocol does.
struct ThrowingProvider final : UsageProvider {
    int calls = 0;
    QCoro::Task<UsageOutcome> fetch(TimePoint) override {
        ++calls;
        co_await QCoro::sleepFor(std::chrono::milliseconds(1));
        throw std::out_of_range("stod");
    }
};

// Regression: an exception out of one provider left the refresher "refreshing" for good:
// `ravo status` hung and the app never saved a snapshot again.
TEST_F(UsageRefresherTest, AThrowingProviderIsItsOwnFailureAndTheNextPassRuns) {
    auto thrower = std::make_shared<ThrowingProvider>();
    codex->outcome = reading(12);
    UsageRefresher refresher(
        UsageRefresher::Providers{{Provider::claude, thrower}, {Provider::codex, codex}}, nullptr,
        [this](const UsageSnapshot& s) -> Status {
            published.push_back(s);
            return success();
        },
        &settings, [this] { return now; });
    for (int pass = 1; pass <= 2; ++pass) {
        const auto snapshot = QCoro::waitFor(refresher.refresh());
        ASSERT_TRUE(snapshot) << "pass " << pass;
        const auto claudeUsage = snapshot->usage(Provider::claude);
        ASSERT_TRUE(claudeUsage && claudeUsage->error);
        EXPECT_NE(claudeUsage->error->find("stod"), std::string::npos);
        EXPECT_EQ(snapshot->usage(Provider::codex)->windows.at(0).usedPercent, 12);
    }
    EXPECT_EQ(thrower->calls, 2);
    EXPECT_EQ(published.size(), 2u);
}

TEST_F(UsageRefresherTest, AsksEveryProviderAtOnceAndAppliesAnswersAsTheyCome) {
    std::vector<std::string> events;
    claude->outcome = reading(10);
    claude->delay = std::chrono::milliseconds(200);
    claude->name = "claude";
    claude->events = &events;
    codex->outcome = reading(20);
    codex->delay = std::chrono::milliseconds(20);
    codex->name = "codex";
    codex->events = &events;
    auto refresher = make();
    const auto snapshot = QCoro::waitFor(refresher->refresh());
    ASSERT_TRUE(snapshot);
    // Both asked before either answered, and applied in the order they answered.
    EXPECT_EQ(events, (std::vector<std::string>{"start claude", "start codex", "codex", "claude"}));
    EXPECT_EQ(snapshot->providers.size(), 2u);
    EXPECT_EQ(snapshot->providers[0].provider, Provider::claude);
    ASSERT_EQ(published.size(), 1u);
    EXPECT_EQ(published[0], *snapshot);
    // Regression: g++ 12 moved the live snapshot out when the pass returned it.
    EXPECT_EQ(refresher->snapshot(), *snapshot);
}

TEST_F(UsageRefresherTest, APassWhileOneRunsDoesNothing) {
    claude->delay = std::chrono::milliseconds(100);
    claude->outcome = reading(1);
    codex->outcome = reading(1);
    auto refresher = make();
    auto first = refresher->refresh();
    EXPECT_TRUE(refresher->isRefreshing());
    EXPECT_FALSE(QCoro::waitFor(refresher->refresh()));
    EXPECT_TRUE(QCoro::waitFor(first));
    EXPECT_EQ(claude->calls, 1);
}

TEST_F(UsageRefresherTest, ProvidersThatAreNotEnabledDisappear) {
    UsageSnapshot saved;
    saved.apply(reading(50), Provider::codex, now);
    claude->outcome = reading(1);
    auto refresher = make(saved);
    EXPECT_EQ(refresher->snapshot(), saved); // shown at once
    refresher->setEnabledProviders({Provider::claude});
    const auto snapshot = QCoro::waitFor(refresher->refresh());
    ASSERT_EQ(snapshot->providers.size(), 1u);
    EXPECT_EQ(snapshot->providers[0].provider, Provider::claude);
    EXPECT_EQ(codex->calls, 0);
}

TEST_F(UsageRefresherTest, ABlockedProviderWaitsUntilItsTimeAndTheTimeIsRemembered) {
    claude->outcome = reading(1);
    codex->outcome = UsageError{"codex app-server timed out", std::nullopt,
                                *parseIso8601("2026-05-01T10:05:00Z")};
    make(); // nothing stored yet
    {
        auto refresher = make();
        QCoro::waitFor(refresher->refresh());
        ASSERT_NE(refresher->snapshot().usage(Provider::codex), nullptr);
        EXPECT_EQ(refresher->snapshot().usage(Provider::codex)->error,
                  "codex app-server timed out");
    }
    codex->outcome = reading(5);
    auto restarted = make();
    now = *parseIso8601("2026-05-01T10:05:00Z");
    QCoro::waitFor(restarted->refresh());
    EXPECT_EQ(codex->calls, 1); // not at 10:05 exactly
    now += std::chrono::seconds(1);
    QCoro::waitFor(restarted->refresh());
    EXPECT_EQ(codex->calls, 2);
    EXPECT_FALSE(restarted->snapshot().usage(Provider::codex)->error);
}

TEST_F(UsageRefresherTest, AFailedPublishStillUpdatesTheSnapshotInMemory) {
    claude->outcome = reading(33);
    codex->outcome = UsageError{"codex CLI not found", std::nullopt, std::nullopt};
    auto refresher = make(std::nullopt, true);
    const auto snapshot = QCoro::waitFor(refresher->refresh());
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->usage(Provider::claude)->windows[0].usedPercent, 33);
    EXPECT_EQ(snapshot->usage(Provider::codex)->error, "codex CLI not found");
    EXPECT_FALSE(refresher->isRefreshing());
}

} // namespace
} // namespace ravo::usage
