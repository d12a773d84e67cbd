#include "connectivity/core/connection_settler.h"

#include <gtest/gtest.h>

namespace ravo::connectivity {
namespace {

using namespace std::chrono_literals;
using Announcement = ConnectionSettler::Announcement;

// A settler on a clock the test moves: states go in at given seconds, and every check
// collects what would have been posted.
class Walk {
public:
    explicit Walk(ConnectionSettler::Timing timing = {}) : settler_(timing) {}

    Walk& at(std::chrono::milliseconds when, ConnectionState state) {
        until(when);
        settler_.record(state, start_ + when);
        collect(when);
        return *this;
    }
    // Runs the clock to `when`, checking whenever the settler asks to be woken.
    Walk& until(std::chrono::milliseconds when) {
        while (const auto next = settler_.nextCheck()) {
            if (*next > start_ + when)
                break;
            collect(std::chrono::duration_cast<std::chrono::milliseconds>(*next - start_));
            if (settler_.nextCheck() == next)
                break;
        }
        return *this;
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> list;
        for (const auto& told : told_)
            list.push_back(told.notice.title);
        return list;
    }
    const std::vector<Announcement>& told() const { return told_; }

private:
    void collect(std::chrono::milliseconds when) {
        while (auto announcement = settler_.take(start_ + when))
            told_.push_back(*announcement);
    }
    ConnectionSettler settler_;
    ConnectionSettler::TimePoint start_{std::chrono::hours(1)};
    std::vector<Announcement> told_;
};

const ConnectionState online = Online{};
const ConnectionState noLink = Offline{false};
const ConnectionState noInternet = Offline{true};

TEST(ConnectionSettler, AStateIsToldOnlyOnceItHasLasted) {
    Walk walk;
    walk.at(0s, online).at(10s, noLink).until(14'999ms);
    EXPECT_TRUE(walk.told().empty()) << "told before the hold was over";
    walk.until(15s);
    ASSERT_EQ(walk.titles(), std::vector<std::string>{"You're offline"});
    EXPECT_EQ(walk.told()[0].state, noLink);
    EXPECT_FALSE(walk.told()[0].unstable);
    walk.at(40s, online).until(60s);
    EXPECT_EQ(walk.titles(), (std::vector<std::string>{"You're offline", "Connection restored"}));
}

TEST(ConnectionSettler, ABlipShorterThanTheHoldSaysNothing) {
    Walk walk;
    walk.at(0s, online).at(10s, noInternet).at(13s, online).until(120s);
    EXPECT_TRUE(walk.told().empty()) << walk.titles().front();
    // Starting online is not news, starting offline is.
    Walk offlineFirst;
    offlineFirst.at(0s, noLink).until(5s);
    EXPECT_EQ(offlineFirst.titles(), std::vector<std::string>{"You're offline"});
}

TEST(ConnectionSettler, AFlappingLinkIsToldOnceAsUnstableThenWhereItSettles) {
    Walk walk;
    walk.at(0s, online);
    // Down and up every two seconds for most of a minute: it goes down for good at 66 s.
    for (int second = 10; second < 68; second += 2)
        walk.at(std::chrono::seconds(second), second % 4 == 2 ? noLink : online);
    ASSERT_EQ(walk.titles(), std::vector<std::string>{ConnectionSettler::kUnstableTitle});
    EXPECT_TRUE(walk.told()[0].unstable);
    EXPECT_EQ(walk.told()[0].notice.body, ConnectionSettler::kUnstableBody);
    // Settled online at 70 s: told after the calm, as the end of the trouble, not before.
    walk.at(70s, online).until(99s);
    EXPECT_EQ(walk.titles().size(), 1u);
    walk.until(100s);
    EXPECT_EQ(walk.titles(),
              (std::vector<std::string>{ConnectionSettler::kUnstableTitle, "Connection restored"}));
    // Calm again: a later single change is told after the ordinary hold.
    walk.at(200s, noInternet).until(205s);
    EXPECT_EQ(walk.titles().back(), "You're offline");
    EXPECT_EQ(walk.told().back().notice.body,
              "Connected to the network, but the internet isn't reachable.");
}

TEST(ConnectionSettler, TheUnstableNoticeComesWithTheChangeThatMakesIt) {
    ConnectionSettler settler;
    const ConnectionSettler::TimePoint t0{std::chrono::hours(1)};
    settler.record(online, t0);
    settler.record(noLink, t0 + 1s);
    settler.record(online, t0 + 2s);
    settler.record(noLink, t0 + 3s);
    EXPECT_EQ(settler.take(t0 + 3s), std::nullopt);
    EXPECT_FALSE(settler.isUnstable());
    settler.record(online, t0 + 4s);
    EXPECT_TRUE(settler.isUnstable());
    EXPECT_EQ(settler.nextCheck(), t0 + 4s);
    const auto told = settler.take(t0 + 4s);
    ASSERT_TRUE(told.has_value());
    EXPECT_TRUE(told->unstable);
    EXPECT_EQ(settler.take(t0 + 4s), std::nullopt);
    EXPECT_EQ(settler.nextCheck(), t0 + 4s + 30s);
}

TEST(ConnectionSettler, ChangesSpreadOverMoreThanTheWindowAreNotFlapping) {
    Walk walk;
    walk.at(0s, online);
    // A change every 25 s: each state lasts, each is told, none of it is unstable.
    for (int i = 1; i <= 6; ++i)
        walk.at(std::chrono::seconds(25 * i), i % 2 ? noLink : online);
    walk.until(200s);
    EXPECT_EQ(walk.titles(), (std::vector<std::string>{"You're offline", "Connection restored",
                                                       "You're offline", "Connection restored",
                                                       "You're offline", "Connection restored"}));
}

TEST(ConnectionSettler, APoorConnectionIsToldWithItsFiguresAndNewFiguresAreNotNews) {
    Walk walk;
    walk.at(0s, online).at(10s, Degraded{420, 30}).at(12s, Degraded{600, 90}).until(30s);
    ASSERT_EQ(walk.titles(), std::vector<std::string>{"Poor connection"});
    EXPECT_EQ(walk.told()[0].notice.body, "Latency 420 ms, jitter 30 ms.");
}

TEST(ConnectionSettler, TimingIsTheCallersToShorten) {
    Walk walk({.hold = 1s, .window = 8s, .changesForUnstable = 4, .calm = 5s});
    walk.at(0s, online).at(1s, noLink).until(2s);
    EXPECT_EQ(walk.titles(), std::vector<std::string>{"You're offline"});
}

} // namespace
} // namespace ravo::connectivity
