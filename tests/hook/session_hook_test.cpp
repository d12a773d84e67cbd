#include "base/atomic_file.h"
#include "sessions/core/session_store.h"
#include "tests/support/child_process.h"
#include "tests/support/silent_bus.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace ravo {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using sessions::AgentSession;
using sessions::SessionStore::loadAll;

class SessionHookTest : public ::testing::Test {
protected:
    testing::ChildResult hook(const char* agent, const std::string& payload) {
        return testing::runChild({RAVO_HOOK, agent}, payload,
                                 {{"HOME", home.path().string()},
                                  {"XDG_DATA_HOME", ""},
                                  {"DBUS_SESSION_BUS_ADDRESS", ""},
                                  {"XDG_RUNTIME_DIR", ""}});
    }
    static std::string event(const std::string& id, const char* name, json extra = json::object()) {
        json payload = {{"session_id", id},
                        {"cwd", "/home/ada/code/shop"},
                        {"hook_event_name", name},
                        {"transcript_path", "/tmp/t.jsonl"},
                        {"permission_mode", "default"}};
        payload.update(extra);
        return payload.dump();
    }
    fs::path sessionsFolder() const { return home.path() / ".local/share/ravo/Sessions"; }

    testing::TemporaryHome home; // this process reads the same folder through HOME
};

// Regression: a bus that accepts the connection but never answers kept the hook, and so the
// agent, waiting for good. The hook gives the bus a quarter second; a hang is what fails here,
// the budget itself is measured in bench/measure_hook.sh.
TEST_F(SessionHookTest, ABusThatNeverAnswersDoesNotKeepTheAgentWaiting) {
    testing::SilentBus bus;
    const auto started = std::chrono::steady_clock::now();
    const auto result = testing::runChild({RAVO_HOOK, "claude"},
                                          event("silent-1", "UserPromptSubmit", {{"prompt", "Hi"}}),
                                          {{"HOME", home.path().string()},
                                           {"XDG_DATA_HOME", ""},
                                           {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                           {"XDG_RUNTIME_DIR", ""}});
    const auto took = std::chrono::steady_clock::now() - started;
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_LT(took, std::chrono::seconds(2));
    EXPECT_EQ(bus.connections(), 1);
    ASSERT_EQ(loadAll().size(), 1u);
    EXPECT_EQ(loadAll()[0].state, AgentSession::State::running);
}

TEST_F(SessionHookTest, AClaudeTurnMovesItsRecordThroughTheStates) {
    auto state = [&] {
        const auto all = loadAll();
        return all.empty() ? std::string("gone") : std::string(sessions::rawValue(all[0].state));
    };
    const std::string id = "9cf6ccf8-df0b-45ac-b45a-ce8d06848f6b";
    auto result = hook("claude", event(id, "UserPromptSubmit", {{"prompt", "Add a cart"}}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(state(), "running");
    EXPECT_EQ(loadAll()[0].title, "Add a cart");
    EXPECT_EQ(loadAll()[0].project, "shop");
    hook("claude",
         event(id, "PostToolUse", {{"tool_name", "Bash"}, {"tool_input", {{"command", "ls"}}}}));
    EXPECT_EQ(state(), "running");
    hook("claude", event(id, "Notification",
                         {{"notification_type", "permission_prompt"},
                          {"message", "Claude needs your permission to use Bash"}}));
    EXPECT_EQ(state(), "waiting");
    hook("claude", event(id, "PostToolUse", {{"tool_name", "Bash"}}));
    EXPECT_EQ(state(), "running");
    hook("claude", event(id, "Stop", {{"stop_hook_active", false}}));
    EXPECT_EQ(state(), "done");
    hook("claude", event(id, "Notification", {{"notification_type", "idle_prompt"}}));
    EXPECT_EQ(state(), "done");
    result = hook("claude", event(id, "SessionEnd", {{"reason", "prompt_input_exit"}}));
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(state(), "gone");
}

TEST_F(SessionHookTest, CodexPermissionRequestWaits) {
    hook("codex", event("019a-codex", "UserPromptSubmit", {{"prompt", "Refactor"}}));
    hook("codex", event("019a-codex", "PermissionRequest"));
    const auto all = loadAll(usage::Provider::codex);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].state, AgentSession::State::waiting);
    EXPECT_TRUE(fs::exists(sessionsFolder() / "codex-019a-codex.json"));
}

TEST_F(SessionHookTest, HostileInputWritesNothingAndReturnsAtOnce) {
    const std::vector<std::string> inputs{
        "{not json",
        event("../../../tmp/escape", "UserPromptSubmit"),
        event("a/b", "Stop"),
        event("..", "Stop"),
        json{{"hook_event_name", "Stop"}}.dump(),
        std::string(10 * 1024 * 1024, ' ') + event("big", "UserPromptSubmit"),
    };
    for (const auto& input : inputs) {
        const auto started = std::chrono::steady_clock::now();
        const auto result = hook("claude", input);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(2));
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.standardOutput, "");
    }
    EXPECT_FALSE(fs::exists(sessionsFolder()));
    EXPECT_FALSE(fs::exists("/tmp/escape.json"));
    EXPECT_EQ(hook("gemini", event("x", "Stop")).exitCode, 0);
    EXPECT_EQ(hook("claude", "").exitCode, 0);
}

TEST_F(SessionHookTest, FiftyHooksAtOnceLeaveOnlyWholeRecords) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 50; ++i) {
        threads.emplace_back([this, i] {
            const std::string id = i % 2 == 0 ? "shared" : "own-" + std::to_string(i);
            const char* name = i % 3 == 0 ? "Stop" : "UserPromptSubmit";
            hook(i % 5 == 0 ? "codex" : "claude",
                 event(id, name, {{"prompt", "Task " + std::to_string(i)}}));
        });
    }
    for (auto& thread : threads)
        thread.join();
    int files = 0;
    for (const auto& entry : fs::directory_iterator(sessionsFolder())) {
        ++files;
        const auto text = readFile(entry.path());
        ASSERT_TRUE(text);
        EXPECT_TRUE(sessions::sessionFromJson(json::parse(*text))) << entry.path();
        EXPECT_EQ(entry.path().extension(), ".json") << "left behind: " << entry.path();
    }
    EXPECT_EQ(static_cast<std::size_t>(files), loadAll().size());
    EXPECT_GE(files, 26); // 25 own sessions and the shared one (per agent)
}

} // namespace
} // namespace ravo
