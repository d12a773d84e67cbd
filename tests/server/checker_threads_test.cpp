#include "base/log.h"
#include "server/checker/checker.h"
#include "server/http/http_server.h"
#include "tests/support/both_databases.h"
#include "tests/support/numbered_site.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>

#include <map>
#include <mutex>
#include <thread>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

// A website on loopback, ravo-server's own front end, noting when each site was asked.
class CountingWebsite {
public:
    CountingWebsite()
        : server_(
              io_, {boost::asio::ip::make_address("127.0.0.1"), 0},
              [this](const HttpRequest& request) { return answer(request); }, HttpLimits{}) {
        thread_ = std::thread([this] { io_.run(); });
    }
    ~CountingWebsite() {
        io_.stop();
        thread_.join();
    }
    std::string url(int site) const {
        return "http://127.0.0.1:" + std::to_string(server_.port()) +
               "/ok?site=" + std::to_string(site);
    }
    // How long each answer takes.
    std::chrono::milliseconds delay{0};

    std::map<int, std::vector<TimePoint>> requests() {
        std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    HttpResponse answer(const HttpRequest& request) {
        const TimePoint at = Clock::now();
        {
            std::lock_guard lock(mutex_);
            requests_[std::stoi(request.query.substr(5))].push_back(at);
        }
        HttpResponse response;
        response.delay = delay;
        response.contentType = "text/plain";
        response.body = "Welcome";
        return response;
    }

    boost::asio::io_context io_;
    HttpServer server_;
    std::thread thread_;
    std::mutex mutex_;
    std::map<int, std::vector<TimePoint>> requests_;
};

class CheckerThreadsTest : public ::testing::TestWithParam<std::string> {
protected:
    static void TearDownTestSuite() { testing::BothDatabases::stop(); }

    void SetUp() override {
        store = testing::BothDatabases::open(GetParam(), folder.path());
        ASSERT_NE(store, nullptr);
        store->setMinuteSeconds(1); // a one-minute interval is a second long
    }

    std::string addAccount(const std::string& email, int firstSite, int count) {
        const std::string account = store->accountForEmail(email, true).value().id;
        std::vector<wire::CloudSite> sites;
        for (int n = firstSite; n < firstSite + count; ++n)
            sites.push_back({testing::numberedSiteID(n), website.url(n),
                             "Site " + std::to_string(n), std::nullopt, true, 1});
        EXPECT_TRUE(store->replaceSites(account, sites));
        for (int n = firstSite; n < firstSite + count; ++n)
            identities[n] = account + "/" + testing::numberedSiteID(n);
        return account;
    }

    CheckerOptions options() {
        CheckerOptions options;
        options.threads = 4;
        options.maxInFlight = 64;
        options.probe.timeout = 5s;
        options.probe.allowNetworks = {*parseIpNetwork("127.0.0.1/32")};
        options.telemetry = &telemetry;
        return options;
    }

    // Every whole slot of `site` within [from, to) has exactly one request before the next
    // slot. At each edge one more may fall: the slot under way as `from` came (sites are
    // saved a moment before), and the one still open at `to`. How soon is the benchmark's
    // to say: a loaded test machine may start one late.
    void expectOneCheckPerSlot(int site, const std::vector<TimePoint>& seen, TimePoint from,
                               TimePoint to, std::chrono::seconds slotLength) {
        const TimePoint first = firstSlot(from, 1, identities.at(site), double(slotLength.count()));
        TimePoint slot = first;
        std::size_t matched = 0;
        for (; slot < to - slotLength; slot += slotLength) {
            const auto inSlot =
                std::count_if(seen.begin(), seen.end(), [slot, slotLength](TimePoint at) {
                    return at >= slot && at < slot + slotLength;
                });
            EXPECT_EQ(inSlot, 1) << "site " << site << ", slot at " << unixSeconds(slot);
            matched += static_cast<std::size_t>(inSlot);
        }
        const auto before =
            std::count_if(seen.begin(), seen.end(), [first](TimePoint at) { return at < first; });
        const auto after =
            std::count_if(seen.begin(), seen.end(), [slot](TimePoint at) { return at >= slot; });
        EXPECT_LE(before, 1) << "site " << site << " was asked twice before its first slot";
        EXPECT_LE(after, 1) << "site " << site << " was asked twice in its last slot";
        EXPECT_EQ(seen.size(), matched + static_cast<std::size_t>(before + after))
            << "site " << site << " was asked between slots";
        for (const TimePoint at : seen)
            EXPECT_GE(at, from) << "site " << site << " was asked before any slot";
    }

    testing::TemporaryFolder folder;
    std::unique_ptr<SqlStore> store;
    CountingWebsite website;
    ServerTelemetry telemetry;
    std::map<int, std::string> identities;
};

TEST_P(CheckerThreadsTest, EverySlotIsCheckedOnceOnTimeByThreadsSharingTheWork) {
    // Two-second slots: a check a busy test machine starts a second late is still in its own.
    store->setMinuteSeconds(2);
    addAccount("big@example.org", 0, 60);
    addAccount("small@example.org", 100, 3);
    const TimePoint started = Clock::now();
    Checker checker(*store, options());
    checker.start();
    std::this_thread::sleep_for(2500ms);
    // A site added while the checker sleeps is checked at its own first slot.
    const TimePoint added = Clock::now();
    addAccount("late@example.org", 200, 1);
    checker.sitesChanged();
    std::this_thread::sleep_for(4500ms);
    checker.stop();
    const TimePoint stopped = Clock::now();

    const auto requests = website.requests();
    std::size_t total = 0;
    for (const auto& [site, seen] : requests) {
        expectOneCheckPerSlot(site, seen, site == 200 ? added : started, stopped, 2s);
        total += seen.size();
    }
    EXPECT_EQ(requests.size(), 64u) << "every site was checked";
    // Every check that was answered was saved, and each site's status is its last one.
    std::size_t counted = 0;
    for (const auto& [result, count] : telemetry.checks.snapshot()) {
        EXPECT_EQ(result, std::vector<std::string>{"ok"});
        counted += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(counted, total);
    const auto small = store->accountForEmail("small@example.org", false).value().id;
    const std::vector<wire::CloudSiteStatus> statuses = store->siteStatuses(small).value();
    ASSERT_EQ(statuses.size(), 3u);
    for (const auto& status : statuses) {
        EXPECT_EQ(status.health, "up");
        ASSERT_TRUE(status.lastCheckedAt);
        const int site = std::stoi(status.site.substr(24));
        EXPECT_NEAR(unixSeconds(*status.lastCheckedAt), unixSeconds(requests.at(site).back()), 0.5);
    }
    EXPECT_EQ(telemetry.checksSkipped.load(), 0);
}

// Two checkers claiming from one database, as two processes do on PostgreSQL.
TEST_P(CheckerThreadsTest, TwoCheckersOnOneDatabaseNeverCheckASlotTwice) {
    // Three-second slots: what the first to stop hands back, the other has time to claim,
    // also on a machine busy with other tests.
    store->setMinuteSeconds(3);
    // A slot may come while the sites are saved: it is due, and counts.
    const TimePoint started = Clock::now();
    addAccount("shared@example.org", 0, 40);
    Checker one(*store, options());
    Checker other(*store, options());
    one.start();
    other.start();
    std::this_thread::sleep_for(6500ms);
    one.stop();
    other.stop();
    const auto requests = website.requests();
    EXPECT_EQ(requests.size(), 40u);
    for (const auto& [site, seen] : requests)
        expectOneCheckPerSlot(site, seen, started, Clock::now(), 3s);
}

// A restart, as an upgrade does it: what the first had claimed ahead, the second checks.
TEST_P(CheckerThreadsTest, ARestartLosesNoSlotTheStoppedCheckerHadClaimed) {
    // Slots three seconds apart, so neither the restart's own pause nor a test machine busy
    // with other tests makes a check miss its slot.
    store->setMinuteSeconds(3);
    const TimePoint started = Clock::now();
    addAccount("restarted@example.org", 0, 30);
    {
        Checker before(*store, options());
        before.start();
        std::this_thread::sleep_for(4800ms);
    }
    Checker after(*store, options());
    after.start();
    std::this_thread::sleep_for(5000ms);
    after.stop();
    const auto requests = website.requests();
    EXPECT_EQ(requests.size(), 30u);
    for (const auto& [site, seen] : requests)
        expectOneCheckPerSlot(site, seen, started, Clock::now(), 3s);
}

std::mutex loggedMutex;
std::vector<std::string> logged;
void keepLogLine(std::string_view, log::Level, std::string_view message) {
    std::lock_guard lock(loggedMutex);
    logged.emplace_back(message);
}

TEST_P(CheckerThreadsTest, WhenChecksOutrunTheThreadsTheLargestAccountWaitsAndTheOperatorHears) {
    website.delay = 250ms; // two threads with two checks each: 16 checks a second at most
    addAccount("big@example.org", 0, 40);
    addAccount("small@example.org", 100, 2);
    CheckerOptions options = this->options();
    options.threads = 2;
    options.maxInFlight = 4;
    options.maxQueued = 20;
    options.reportEvery = 2s;
    log::setSink(keepLogLine);
    Checker checker(*store, options);
    checker.start();
    std::this_thread::sleep_for(4500ms);
    const auto notReady = checkerNotReady(telemetry);
    checker.stop();
    log::setSink(nullptr);

    // The small account's two sites are checked at nearly every slot; the big account's
    // forty share what is left.
    const auto requests = website.requests();
    for (const int site : {100, 101})
        EXPECT_GE(requests.count(site) ? requests.at(site).size() : 0u, 3u) << "site " << site;
    std::size_t big = 0;
    for (const auto& [site, seen] : requests)
        if (site < 100)
            big += seen.size();
    EXPECT_LT(big, 40u * 3) << "the big account was not held back";
    EXPECT_GT(big, 20u) << "the big account got no share";

    EXPECT_GT(telemetry.checksSkipped.load(), 0);
    EXPECT_GT(telemetry.checkerCapacityPerMinute.load(), 0);
    EXPECT_TRUE(notReady) << "/readyz would not tell";
    std::lock_guard lock(loggedMutex);
    EXPECT_TRUE(
        std::any_of(logged.begin(), logged.end(),
                    [](const std::string& line) { return line.starts_with("checks are behind"); }))
        << "no warning among " << logged.size() << " lines";
    logged.clear();
}

INSTANTIATE_TEST_SUITE_P(OnBothDatabases, CheckerThreadsTest,
                         ::testing::Values("sqlite", "postgresql"), testing::BothDatabases::name);

} // namespace
} // namespace ravo::server
