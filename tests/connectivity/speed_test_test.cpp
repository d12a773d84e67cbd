#include "connectivity/speed_test.h"
#include "tests/support/temporary_folder.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
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
TEST_F(SpeedTestTest, FinishedTestsAreRememberedNewestFirstUpToTheLimit) {
    const std::string answers = R"(echo '{"dl_throughput": 20000000, "ul_throughput": 5000000}')";
    SpeedTest test(defaults, tool(answers));
    ASSERT_TRUE(QCoro::waitFor(test.run()));
    ASSERT_TRUE(QCoro::waitFor(test.run(QString("http://10.0.0.2:8470/api/v1/speedtest/config"))));
    SpeedTest failing(defaults, tool("exit 3"));
    EXPECT_FALSE(QCoro::waitFor(failing.run()));

    const auto history = test.history();
    ASSERT_EQ(history.size(), 2u) << "a failed test is not remembered, a finished one is not lost";
    EXPECT_EQ(history[0].server, "http://10.0.0.2:8470/api/v1/speedtest/config");
    EXPECT_EQ(history[1].server, "");
    EXPECT_EQ(history[1].result, (SpeedTestResult{20e6, 5e6, {}, {}}));

    tool(answers); // the failing tool took its place
    for (std::size_t i = 0; i < SpeedTestHistory::kKept; ++i)
        ASSERT_TRUE(QCoro::waitFor(test.run()));
    const auto full = test.history();
    EXPECT_EQ(full.size(), SpeedTestHistory::kKept);
    EXPECT_TRUE(std::none_of(full.begin(), full.end(), [](const auto& record) {
        return !record.server.empty();
    })) << "the oldest went first";

    // A garbled list is reported, kept aside once, and replaced by the next test.
    defaults.setValue(SpeedTest::kHistoryKey, "{not json");
    defaults.sync();
    const auto unreadable = test.readHistory();
    ASSERT_FALSE(unreadable.ok());
    EXPECT_NE(unreadable.error().find("unreadable"), std::string::npos) << unreadable.error();
    ASSERT_TRUE(QCoro::waitFor(test.run()));
    ASSERT_TRUE(QCoro::waitFor(test.run()));
    EXPECT_EQ(test.history().size(), 2u);
    EXPECT_EQ(defaults.value(SpeedTest::kHistoryUnreadableKey).toString(), "{not json");
}

TEST_F(SpeedTestTest, ASettingsFileThatCannotBeReadIsNotWrittenOver) {
    const auto path = folder / "broken.conf";
    const std::string broken = "[General\nspeedTestServer=https://ravo.example.org\n";
    std::ofstream(path) << broken;
    QSettings settings(QString::fromStdString(path.string()), QSettings::IniFormat);
    SpeedTest test(settings, tool(R"(echo '{"dl_throughput": 20000000}')"));
    EXPECT_TRUE(QCoro::waitFor(test.run())) << "the test itself still runs";
    EXPECT_FALSE(test.readHistory().ok());
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), broken);
}

// Run by the test below as one of several processes at once; skipped on its own.
TEST(SpeedTestWriter, AddsFiveTests) {
    const char* settingsFile = std::getenv("RAVO_TEST_SPEED_SETTINGS");
    const char* server = std::getenv("RAVO_TEST_SPEED_SERVER");
    if (!settingsFile || !server)
        GTEST_SKIP() << "a child of TestsFromSeveralProcessesAtOnceAreAllKept";
    QSettings settings(QString::fromLocal8Bit(settingsFile), QSettings::IniFormat);
    SpeedTest test(settings, QString::fromLocal8Bit(std::getenv("RAVO_TEST_SPEED_TOOL")));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(QCoro::waitFor(test.run(QString::fromLocal8Bit(server))));
}

// The running Ravo and commands in terminals write the one list: none loses another's test.
TEST_F(SpeedTestTest, TestsFromSeveralProcessesAtOnceAreAllKept) {
    const QString answer = tool(R"(echo '{"dl_throughput": 20000000}')");
    std::vector<std::unique_ptr<QProcess>> writers;
    for (int i = 0; i < 4; ++i) {
        auto writer = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("RAVO_TEST_SPEED_SETTINGS", defaults.fileName());
        environment.insert("RAVO_TEST_SPEED_TOOL", answer);
        environment.insert("RAVO_TEST_SPEED_SERVER", QString("http://writer-%1/config").arg(i));
        writer->setProcessEnvironment(environment);
        writer->start(QCoreApplication::applicationFilePath(),
                      {"--gtest_filter=SpeedTestWriter.AddsFiveTests"});
        writers.push_back(std::move(writer));
    }
    for (auto& writer : writers) {
        ASSERT_TRUE(writer->waitForFinished(60'000));
        ASSERT_EQ(writer->exitCode(), 0) << writer->readAllStandardOutput().toStdString();
    }
    const auto history = SpeedTest(defaults, answer).history();
    ASSERT_EQ(history.size(), 20u);
    for (int i = 0; i < 4; ++i) {
        const std::string server = "http://writer-" + std::to_string(i) + "/config";
        EXPECT_EQ(std::count_if(history.begin(), history.end(),
                                [&](const auto& record) { return record.server == server; }),
                  5)
            << server;
    }
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
