#include "sessions/core/hook_config.h"

#include <gtest/gtest.h>

namespace ravo::sessions {
namespace {

using nlohmann::json;

const std::string ours = "'/opt/Ravo/bin/ravo-hook' claude";
const std::vector<std::string> events{"UserPromptSubmit", "Stop"};

json userConfig() {
    return json::parse(R"({
      "model": "opus",
      "hooks": {
        "Stop": [{"hooks": [{"type": "command", "command": "notify-send done"}]}],
        "PreToolUse": [{"matcher": "Bash", "hooks": [{"type": "command", "command": "audit.sh"}]}]
      }})");
}

TEST(HookConfigEdit, InstallsAfterTheUsersGroupsAndIsIdempotent) {
    const json once = HookConfig::installing(userConfig(), ours, events, std::nullopt);
    EXPECT_EQ(HookConfig::installing(once, ours, events, std::nullopt), once);
    ASSERT_EQ(once["hooks"]["Stop"].size(), 2u);
    EXPECT_EQ(once["hooks"]["Stop"][0]["hooks"][0]["command"], "notify-send done");
    EXPECT_EQ(
        once["hooks"]["Stop"][1],
        json::parse(
            R"({"hooks":[{"type":"command","command":"'/opt/Ravo/bin/ravo-hook' claude","timeout":5}]})"));
    EXPECT_EQ(once["hooks"]["PreToolUse"], userConfig()["hooks"]["PreToolUse"]);
    EXPECT_EQ(once["model"], "opus");
    EXPECT_TRUE(HookConfig::isInstalled(once));
    EXPECT_FALSE(HookConfig::isInstalled(userConfig()));
}

TEST(HookConfigEdit, SessionEndGetsTheShortTimeoutAndCodexItsStatusMessage) {
    const json config = HookConfig::installing(json::object(), ours, {"SessionEnd", "Stop"},
                                               "Ravo session tracking");
    EXPECT_EQ(config["hooks"]["SessionEnd"][0]["hooks"][0]["timeout"], 2);
    EXPECT_EQ(config["hooks"]["Stop"][0]["hooks"][0]["timeout"], 5);
    EXPECT_EQ(config["hooks"]["Stop"][0]["hooks"][0]["statusMessage"], "Ravo session tracking");
}

TEST(HookConfigEdit, RemovalKeepsEverythingThatIsNotOurs) {
    json config = HookConfig::installing(userConfig(), ours, events, std::nullopt);
    // One of ours sharing a group with a handler of the user's.
    config["hooks"]["Stop"][0]["hooks"].push_back({{"type", "command"}, {"command", ours}});
    EXPECT_EQ(HookConfig::removing(config), userConfig());

    const json onlyOurs =
        HookConfig::installing(json{{"theme", "dark"}}, ours, events, std::nullopt);
    EXPECT_EQ(HookConfig::removing(onlyOurs), json::parse(R"({"theme":"dark"})"));
    const json emptyHooks = json::parse(R"({"hooks":{}})");
    EXPECT_EQ(HookConfig::removing(emptyHooks), emptyHooks);
    const json oddHooks = json::parse(R"({"hooks":"weird"})");
    EXPECT_EQ(HookConfig::removing(oddHooks), oddHooks);
}

TEST(HookConfigEdit, EarlierHelperNamesAndMovedCopiesAreReplaced) {
    json config = json::parse(R"({"hooks":{"Stop":[
        {"hooks":[{"type":"command","command":"'/Applications/Quotix.app/Contents/MacOS/quotix-hook' claude"}]},
        {"hooks":[{"type":"command","command":"'/old/place/ravo-hook' claude"}]}]}})");
    const json installed = HookConfig::installing(config, ours, {"Stop"}, std::nullopt);
    ASSERT_EQ(installed["hooks"]["Stop"].size(), 1u);
    EXPECT_EQ(installed["hooks"]["Stop"][0]["hooks"][0]["command"], ours);
    EXPECT_FALSE(HookConfig::isOurs(json{{"command", "ravo-hook claude"}})); // no path, no quote
    EXPECT_TRUE(HookConfig::isOurs(json{{"command", "'/home/o'\\''brien/ravo-hook' codex"}}));
}

TEST(CodexTrust, CountsOurUntrustedHooks) {
    const json answer = json::parse(R"({"id":2,"result":{"data":[{"cwd":"/home/ada","hooks":[
        {"command":"'/opt/Ravo/bin/ravo-hook' codex","trustStatus":"trusted"},
        {"command":"'/opt/Ravo/bin/ravo-hook' codex","trustStatus":"untrusted"},
        {"command":"'/opt/Ravo/bin/ravo-hook' codex","trustStatus":"managed"},
        {"command":"other.sh","trustStatus":"untrusted"}],"warnings":[],"errors":[]}]}})");
    EXPECT_EQ(CodexHookTrust::untrustedHelperHooks(answer), 1);
    EXPECT_EQ(CodexHookTrust::untrustedHelperHooks(json::parse(R"({"result":{"data":[]}})")), 0);
    EXPECT_FALSE(CodexHookTrust::untrustedHelperHooks(json::parse(R"({"result":{}})")));
    EXPECT_FALSE(CodexHookTrust::untrustedHelperHooks(json::parse(R"({"error":{"code":1}})")));
}

} // namespace
} // namespace ravo::sessions
