#include "connectivity/speed_test.h"
#include "tests/support/temporary_folder.h"

#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sys/stat.h>

namespace ravo::connectivity {
namespace {

// A measuring tool written for the test: it notes its arguments and does what it is told.
class SpeedTestTest : public ::testing::Test {
protected:
    QString tool(const std::string& body) {
        const auto path = folder / "tool";
        std::ofstream(path) << "#!/bin/sh\necho \"$@\" > '" << (folder / "arguments").string()
                            << "'\n"
                            << body << "\n";
        ::chmod(path.c_str(), 0755);
        return QString::fromStdString(path.string());
    }
    std::string arguments() const {
        std::ifstream file(folder / "arguments");
        std::string line;
        std::getline(file, line);
        return line;
    }

    testing::TemporaryFolder folder;
    QSettings defaults{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
};

TEST_F(SpeedTestTest, RunsTheToolForThirtySecondsAndReadsItsAnswer) {
    SpeedTest test(defaults, tool(R"(echo '{"dl_throughput": 94500000, "ul_throughput": )"
                                  R"(12000000, "dl_responsiveness": 640, "base_rtt": 14.5}')"));
    std::vector<SpeedTest::Phase> phases;
    QObject::connect(&test, &SpeedTest::phaseChanged, [&] { phases.push_back(test.phase()); });
    const auto result = QCoro::waitFor(test.run());
    EXPECT_EQ(result, (SpeedTestResult{94.5e6, 12e6, 640, 14.5}));
    EXPECT_EQ(arguments(), "-c -M 30");
    EXPECT_EQ(phases, (std::vector<SpeedTest::Phase>{SpeedTest::Phase::measuring,
                                                     SpeedTest::Phase::finished}));
    EXPECT_EQ(test.lastResult(), result);

    ASSERT_TRUE(test.setServer("https://ravo.example.org").ok());
    QCoro::waitFor(test.run());
    EXPECT_EQ(arguments(), "-c -M 30 --config https://ravo.example.org/api/v1/speedtest/config");
    QCoro::waitFor(test.run(QString("http://10.0.0.2:8470/api/v1/speedtest/config")));
    EXPECT_EQ(arguments(), "-c -M 30 --config http://10.0.0.2:8470/api/v1/speedtest/config");
}

TEST_F(SpeedTestTest, AFailedRunGivesNothingEvenWithAnAnswer) {
    const std::vector<std::string> failures = {
        R"(echo '{"dl_throughput": 1000}'; exit 1)",
        "echo 'Downlink: 94 Mbps'",
        R"(echo '{"responsiveness": 800, "base_rtt": 12}')",
        "kill -9 $$",
    };
    for (const auto& body : failures) {
        SpeedTest test(defaults, tool(body));
        EXPECT_EQ(QCoro::waitFor(test.run()), std::nullopt) << body;
        EXPECT_EQ(test.phase(), SpeedTest::Phase::failed) << body;
    }
    SpeedTest missing(defaults, QString::fromStdString((folder / "no-such-tool").string()));
    EXPECT_EQ(QCoro::waitFor(missing.run()), std::nullopt);
    EXPECT_EQ(missing.phase(), SpeedTest::Phase::failed);
}

TEST_F(SpeedTestTest, CancellingEndsTheToolAtOnce) {
    SpeedTest test(defaults, tool("sleep 60"));
    QTimer::singleShot(300, &test, [&test] { test.cancel(); });
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(QCoro::waitFor(test.run()), std::nullopt);
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_EQ(test.phase(), SpeedTest::Phase::failed);
}

// Two processes with the settings open at once, as the running Ravo and `ravo speedtest` are.
TEST_F(SpeedTestTest, EveryProcessAddsItsTestsToTheOneHistory) {
    const std::string answers = R"(echo '{"dl_throughput": 20000000, "ul_throughput": 5000000}')";
    const QString answer = tool(answers);
    QSettings otherProcess{QString::fromStdString((folder / "ravo.conf").string()),
                           QSettings::IniFormat};
    SpeedTest app(defaults, answer);
    SpeedTest terminal(otherProcess, answer);
    ASSERT_TRUE(QCoro::waitFor(app.run()));
    ASSERT_TRUE(
        QCoro::waitFor(terminal.run(QString("http://10.0.0.2:8470/api/v1/speedtest/config"))));
    SpeedTest failing(defaults, tool("exit 3"));
    EXPECT_FALSE(QCoro::waitFor(failing.run()));

    const auto history = app.history();
    ASSERT_EQ(history.size(), 2u) << "a failed test is not remembered, a finished one is not lost";
    EXPECT_EQ(history[0].server, "http://10.0.0.2:8470/api/v1/speedtest/config");
    EXPECT_EQ(history[1].server, "");
    EXPECT_EQ(history[1].result, (SpeedTestResult{20e6, 5e6, {}, {}}));
    EXPECT_EQ(terminal.history(), history);

    tool(answers); // the failing tool took its place
    for (std::size_t i = 0; i < SpeedTestHistory::kKept; ++i)
        ASSERT_TRUE(QCoro::waitFor(terminal.run()));
    const auto full = app.history();
    EXPECT_EQ(full.size(), SpeedTestHistory::kKept);
    EXPECT_TRUE(std::none_of(full.begin(), full.end(), [](const auto& record) {
        return !record.server.empty();
    })) << "the oldest went first";

    // A history garbled on disk reads as none and is replaced by the next test.
    defaults.setValue(SpeedTest::kHistoryKey, "{not json");
    defaults.sync();
    EXPECT_TRUE(app.history().empty());
    ASSERT_TRUE(QCoro::waitFor(app.run()));
    EXPECT_EQ(terminal.history().size(), 1u);
}

TEST(SpeedTestServer, TakesARavoServersAddressOrAConfigurationURL) {
    EXPECT_EQ(SpeedTest::configURL("").value(), "");
    EXPECT_EQ(SpeedTest::configURL(" https://ravo.example.org/ ").value(),
              "https://ravo.example.org/api/v1/speedtest/config");
    EXPECT_EQ(SpeedTest::configURL("http://10.0.0.2:8470").value(),
              "http://10.0.0.2:8470/api/v1/speedtest/config");
    EXPECT_EQ(SpeedTest::configURL("https://rpm.example.net/config").value(),
              "https://rpm.example.net/config");
    for (const char* bad : {"ravo.example.org", "ftp://ravo.example.org", "https://", "http:// x"})
        EXPECT_FALSE(SpeedTest::configURL(bad).ok()) << bad;
}

} // namespace
} // namespace ravo::connectivity
