#include "app/platform/single_instance.h"
#include "common/cross_process_listener.h"
#include "base/atomic_file.h"
#include "base/cross_process_signal.h"
#include "tests/support/temporary_folder.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QLocalServer>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ravo::app {
namespace {

// Runs inside dbus-run-session: a real session bus with nobody else on it.
class CrossProcessListenerTest : public ::testing::Test {
protected:
    testing::TemporaryFolder container;
    common::CrossProcessListener listener{QString::fromStdString(container.path().string())};
};

TEST_F(CrossProcessListenerTest, TheHooksSignalsArriveAndBurstsCountOnce) {
    listener.start();
    ASSERT_TRUE(listener.isListeningOnBus());
    QSignalSpy sessions(&listener, &common::CrossProcessListener::sessionsChanged);
    QSignalSpy limits(&listener, &common::CrossProcessListener::claudeLimitsChanged);
    for (int i = 0; i < 50; ++i)
        QDBusConnection::sessionBus().send(
            QDBusMessage::createSignal(CrossProcessSignal::kPath, CrossProcessSignal::kInterface,
                                       CrossProcessSignal::kSessionsChanged));
    ASSERT_TRUE(sessions.wait(2000));
    QTest::qWait(300);
    EXPECT_EQ(sessions.count(), 1);
    // The hook's own sender, from a real child process.
    ASSERT_TRUE(CrossProcessSignal::post(CrossProcessSignal::kClaudeLimitsChanged));
    ASSERT_TRUE(limits.wait(2000));
}

TEST_F(CrossProcessListenerTest, WithoutTheBusTheFolderIsWatched) {
    listener.start();
    QSignalSpy sessions(&listener, &common::CrossProcessListener::sessionsChanged);
    QSignalSpy limits(&listener, &common::CrossProcessListener::claudeLimitsChanged);
    writeFileAtomically(container / "Sessions" / "claude-x.json", "{}");
    ASSERT_TRUE(sessions.wait(2000));
    writeFileAtomically(container / "claude-limits.json", "{}");
    ASSERT_TRUE(limits.wait(2000));
}

TEST(SingleInstance, TheSecondHandsItsRequestToTheFirst) {
    testing::TemporaryFolder folder;
    const QString name = QString::fromStdString((folder / "ravo.socket").string());
    SingleInstance first(name);
    ASSERT_EQ(first.claim(), SingleInstance::Claim::claimed);
    QSignalSpy shows(&first, &SingleInstance::showUsageRequested);
    QSignalSpy opens(&first, &SingleInstance::openRequested);
    SingleInstance second(name);
    EXPECT_EQ(second.claim(), SingleInstance::Claim::anotherIsRunning);
    EXPECT_TRUE(second.forwardToRunning("show-usage"));
    ASSERT_TRUE(shows.wait(2000));
    EXPECT_TRUE(second.forwardToRunning("open ravo://session/claude/abc"));
    ASSERT_TRUE(opens.wait(2000));
    EXPECT_EQ(opens.takeFirst().at(0).toString(), "ravo://session/claude/abc");
}

TEST(SingleInstance, NeverHandsALinkToASocketThatIsNotOurs) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to make a socket another user's";
    testing::TemporaryFolder folder;
    const QString name = QString::fromStdString((folder / "ravo.socket").string());
    QLocalServer stranger;
    ASSERT_TRUE(stranger.listen(name));
    ASSERT_EQ(::chown(name.toLocal8Bit().constData(), 65534, 65534), 0);
    SingleInstance ours(name);
    EXPECT_EQ(ours.claim(), SingleInstance::Claim::unavailable);
    EXPECT_FALSE(ours.forwardToRunning("open ravo://auth/callback?code=secret"));
    QTest::qWait(200);
    EXPECT_FALSE(stranger.hasPendingConnections());
}

} // namespace
} // namespace ravo::app
