#include "sessions/core/session_events.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::sessions {
namespace {

using nlohmann::json;
using State = AgentSession::State;
const TimePoint t0 = fromUnixSeconds(1'800'000'000);

json event(const char* name, json extra = json::object()) {
    json payload = {{"session_id", "s-1"},
                    {"cwd", "/home/ada/code/ravo/"},
                    {"hook_event_name", name},
                    {"transcript_path", "/x.jsonl"}};
    payload.update(extra);
    return payload;
}

std::optional<AgentSession> after(const SessionTransition& transition) {
    if (const auto* upsert = std::get_if<Upsert>(&transition))
        return upsert->session;
    return std::nullopt;
}

TEST(SessionEventsRules, APromptStartsATurnWithItsFirstLineAsTitle) {
    const auto s = after(SessionEvents::decide(
        Provider::claude,
        event("UserPromptSubmit", {{"prompt", "\n  Fix the login bug \nthen tests"}}), std::nullopt,
        t0));
    ASSERT_TRUE(s);
    EXPECT_EQ(s->state, State::running);
    EXPECT_EQ(s->title, "Fix the login bug");
    EXPECT_EQ(s->project, "ravo");
    EXPECT_EQ(s->turnStartedAt, t0);
    EXPECT_EQ(s->sessionID, "s-1");

    auto done = *s;
    done.state = State::done;
    const auto next = after(SessionEvents::decide(
        Provider::claude, event("UserPromptSubmit", {{"prompt", "Now the docs"}}), done,
        t0 + std::chrono::minutes(5)));
    EXPECT_EQ(next->turnStartedAt, t0 + std::chrono::minutes(5));
    EXPECT_EQ(next->title, "Now the docs");
}

TEST(SessionEventsRules, ToolUseKeepsRunningAndWritesOnlyWhenDue) {
    AgentSession running;
    running.sessionID = "s-1";
    running.project = "ravo";
    running.updatedAt = t0;
    running.turnStartedAt = t0;
    EXPECT_TRUE(std::holds_alternative<Ignore>(SessionEvents::decide(
        Provider::claude, event("PostToolUse"), running, t0 + std::chrono::seconds(59))));
    const auto refreshed = after(SessionEvents::decide(Provider::claude, event("PostToolUse"),
                                                       running, t0 + std::chrono::seconds(60)));
    EXPECT_EQ(refreshed->updatedAt, t0 + std::chrono::seconds(60));
    EXPECT_EQ(refreshed->turnStartedAt, t0);
    auto waiting = running;
    waiting.state = State::waiting;
    EXPECT_EQ(
        after(SessionEvents::decide(Provider::claude, event("PostToolUse"), waiting, t0))->state,
        State::running);
}

TEST(SessionEventsRules, PermissionWaitsAndTheIdleReminderNeverWakesADoneSession) {
    auto waiting = after(SessionEvents::decide(
        Provider::claude, event("Notification", {{"notification_type", "permission_prompt"}}),
        std::nullopt, t0));
    EXPECT_EQ(waiting->state, State::waiting);
    EXPECT_EQ(
        after(SessionEvents::decide(Provider::codex, event("PermissionRequest"), std::nullopt, t0))
            ->state,
        State::waiting);
    // Older versions say it only in the message.
    EXPECT_EQ(
        after(SessionEvents::decide(
                  Provider::claude,
                  event("Notification", {{"message", "Claude needs your permission to use Bash"}}),
                  std::nullopt, t0))
            ->state,
        State::waiting);

    auto done = *waiting;
    done.state = State::done;
    for (const json& idle : {json{{"notification_type", "idle_prompt"}},
                             json{{"message", "Claude is waiting for your input"}}})
        EXPECT_TRUE(std::holds_alternative<Ignore>(
            SessionEvents::decide(Provider::claude, event("Notification", idle), done, t0)));
    EXPECT_EQ(
        after(SessionEvents::decide(Provider::claude,
                                    event("Notification", {{"notification_type", "idle_prompt"}}),
                                    *waiting, t0))
            ->state,
        State::done);
}

TEST(SessionEventsRules, StopIsDoneAndSessionEndRemoves) {
    EXPECT_EQ(
        after(SessionEvents::decide(Provider::claude, event("Stop", {{"stop_hook_active", false}}),
                                    std::nullopt, t0))
            ->state,
        State::done);
    AgentSession existing;
    EXPECT_TRUE(std::holds_alternative<Remove>(SessionEvents::decide(
        Provider::claude, event("SessionEnd", {{"reason", "other"}}), existing, t0)));
    EXPECT_TRUE(std::holds_alternative<Ignore>(
        SessionEvents::decide(Provider::claude, event("SessionEnd"), std::nullopt, t0)));
    EXPECT_TRUE(std::holds_alternative<Ignore>(
        SessionEvents::decide(Provider::claude, event("SessionStart"), std::nullopt, t0)));
}

TEST(SessionEventsRules, HostilePayloadsChangeNothing) {
    for (const json& payload : {json::parse("[1]"), json{{"hook_event_name", "Stop"}},
                                json{{"session_id", "../../etc"}, {"hook_event_name", "Stop"}},
                                json{{"session_id", "a/b"}, {"hook_event_name", "Stop"}},
                                json{{"session_id", 42}, {"hook_event_name", "Stop"}}})
        EXPECT_TRUE(std::holds_alternative<Ignore>(
            SessionEvents::decide(Provider::claude, payload, std::nullopt, t0)))
            << payload.dump();
}

TEST(SessionTitles, AreShortenedAtACharacterBoundary) {
    const std::string long_(100, 'x');
    const auto title = SessionEvents::titleFromPrompt(long_);
    EXPECT_EQ(*title, std::string(79, 'x') + "…");
    std::string accents;
    for (int i = 0; i < 90; ++i)
        accents += "é";
    const auto accented = *SessionEvents::titleFromPrompt(accents);
    EXPECT_EQ(accented.size(), 79 * 2 + std::string("…").size());
    EXPECT_FALSE(SessionEvents::titleFromPrompt("\n \n"));
    EXPECT_EQ(SessionEvents::projectName("/"), "/");
    EXPECT_EQ(SessionEvents::projectName("/home/ada/ravo"), "ravo");
}

} // namespace
} // namespace ravo::sessions
