#include "usage/process_runner.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <qcoro/qcorotask.h>

namespace ravo::usage {
namespace {

// Regression: the time-out rode a coarse timer and ended Claude Code at about 14.5 s of 15.
TEST(ProcessRunner, AChildIsEndedAtItsTimeOutAndNotBefore) {
    QElapsedTimer clock;
    clock.start();
    const auto result =
        QCoro::waitFor(runProcess("/bin/sleep", {"30"}, QProcessEnvironment::systemEnvironment(),
                                  std::chrono::milliseconds(2000)));
    const qint64 elapsed = clock.elapsed();
    ASSERT_TRUE(std::holds_alternative<ProcessFailure>(result));
    EXPECT_EQ(std::get<ProcessFailure>(result), ProcessFailure::timedOut);
    EXPECT_GE(elapsed, 2000);
    EXPECT_LT(elapsed, 10000); // killed, not waited out
}

TEST(ProcessRunner, AChildThatFinishesGivesItsOutputAndStatus) {
    const auto result = QCoro::waitFor(
        runProcess("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"},
                   QProcessEnvironment::systemEnvironment(), std::chrono::milliseconds(5000)));
    ASSERT_TRUE(std::holds_alternative<ProcessOutput>(result));
    const auto& output = std::get<ProcessOutput>(result);
    EXPECT_EQ(output.exitStatus, 3);
    EXPECT_EQ(output.standardOutput, "out\n");
    EXPECT_EQ(output.standardError, "err\n");
}

} // namespace
} // namespace ravo::usage
