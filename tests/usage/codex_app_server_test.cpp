#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"
#include "usage/codex_app_server.h"
#include "usage/codex_usage_provider.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <qcoro/qcorotask.h>

#include <csignal>

namespace ravo::usage {
namespace {

namespace fs = std::filesystem;

class CodexAppServerTest : public ::testing::Test {
protected:
    CodexAppServerTest() {
        fs::create_directories(home.path() / ".local" / "bin");
        fs::copy_file(std::string(RAVO_FAKES) + "/codex", home.path() / ".local/bin/codex");
    }
    void setMode(const char* mode) {
        ASSERT_TRUE(writeFileAtomically(home.path() / ".fake-codex-mode", mode).ok());
    }
    std::variant<std::string, ProbeError> ask(std::chrono::milliseconds timeout) {
        return QCoro::waitFor(
            CodexAppServer(home.path()).request("account/rateLimits/read", "{}", timeout));
    }
    std::string errorOf(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        const auto answer = ask(timeout);
        return std::holds_alternative<ProbeError>(answer) ? std::get<ProbeError>(answer).message
                                                          : "answered";
    }
    // No fake codex is left running after an exchange.
    bool fakesStillRunning() const {
        // "[c]odex" keeps pgrep from finding the shell that runs it.
        const auto pattern = (home.path() / ".local/bin/[c]odex").string();
        return std::system(("pgrep -f '" + pattern + "' >/dev/null").c_str()) == 0;
    }

    ravo::testing::TemporaryHome home;
};

TEST_F(CodexAppServerTest, SkipsNotificationsAndReturnsTheAnswer) {
    const auto answer = ask(std::chrono::seconds(10));
    ASSERT_TRUE(std::holds_alternative<std::string>(answer));
    const auto json = nlohmann::json::parse(std::get<std::string>(answer));
    EXPECT_EQ(json["id"], CodexAppServer::kRequestID);
    EXPECT_EQ(json["result"]["rateLimits"]["planType"], "plus");
    EXPECT_FALSE(fakesStillRunning());
}

TEST_F(CodexAppServerTest, EveryWayOfNotAnsweringHasItsText) {
    setMode("silent");
    EXPECT_EQ(errorOf(std::chrono::milliseconds(400)), "codex app-server timed out");
    setMode("stall");
    EXPECT_EQ(errorOf(std::chrono::milliseconds(400)), "codex app-server timed out");
    setMode("exitbefore");
    EXPECT_EQ(errorOf(), "codex app-server exited without a response");
    setMode("crash");
    EXPECT_EQ(errorOf(), "codex app-server did not respond");
    setMode("garbage");
    EXPECT_EQ(errorOf(), "codex app-server exited without a response");
    EXPECT_FALSE(fakesStillRunning());
    fs::remove(home.path() / ".local/bin/codex");
    EXPECT_EQ(errorOf(), "codex CLI not found");
}

TEST_F(CodexAppServerTest, ProviderTurnsAnswersIntoReadingsAndBacksOffAfterATimeOut) {
    CodexUsageProvider provider{CodexAppServer(home.path())};
    const TimePoint now = Clock::now();
    auto outcome = QCoro::waitFor(provider.fetch(now));
    ASSERT_TRUE(std::holds_alternative<ProviderReading>(outcome));
    EXPECT_EQ(std::get<ProviderReading>(outcome).windows.size(), 2u);
    setMode("signedout");
    outcome = QCoro::waitFor(provider.fetch(now));
    EXPECT_EQ(std::get<UsageError>(outcome).message, "Codex rejected the rate limit request");
    EXPECT_FALSE(std::get<UsageError>(outcome).retryAfter);
}

} // namespace
} // namespace ravo::usage
