#include "sessions/core/session_events.h"

#include <nlohmann/json.hpp>

namespace ravo::sessions::SessionEvents {

using nlohmann::json;
using State = AgentSession::State;

namespace {

std::string stringAt(const json& payload, const char* key) {
    const auto it = payload.find(key);
    return it != payload.end() && it->is_string() ? it->get<std::string>() : std::string{};
}

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

enum class NotificationKind { permission, idle, other };

NotificationKind notificationKind(const json& payload) {
    const std::string type = stringAt(payload, "notification_type");
    if (type == "permission_prompt")
        return NotificationKind::permission;
    if (type == "idle_prompt")
        return NotificationKind::idle;
    if (!type.empty())
        return NotificationKind::other;
    const std::string message = stringAt(payload, "message");
    if (contains(message, "permission"))
        return NotificationKind::permission;
    if (contains(message, "waiting for your input"))
        return NotificationKind::idle;
    return NotificationKind::other;
}

AgentSession base(Provider provider, const std::string& id, const json& payload,
                  const std::optional<AgentSession>& existing, TimePoint now) {
    AgentSession session;
    if (existing) {
        session = *existing;
    } else {
        session.provider = provider;
        session.sessionID = id;
        session.turnStartedAt = now;
    }
    if (const std::string cwd = stringAt(payload, "cwd"); !cwd.empty())
        session.project = projectName(cwd);
    if (session.project.empty())
        session.project = "Session";
    session.updatedAt = now;
    return session;
}

SessionTransition moveTo(AgentSession session, State state) {
    session.state = state;
    return Upsert{std::move(session)};
}

} // namespace

std::string projectName(const std::string& workingFolder) {
    std::string folder = workingFolder;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    const auto slash = folder.find_last_of('/');
    if (slash == std::string::npos || folder == "/")
        return folder;
    return folder.substr(slash + 1);
}

std::optional<std::string> titleFromPrompt(const std::string& prompt) {
    std::size_t start = 0;
    while (start < prompt.size()) {
        const auto end = prompt.find('\n', start);
        std::string line = trim(prompt.substr(start, end == std::string::npos ? end : end - start));
        if (!line.empty()) {
            constexpr std::size_t limit = 80;
            std::size_t count = 0, cut = 0;
            for (std::size_t i = 0; i < line.size(); ++i) {
                if ((static_cast<unsigned char>(line[i]) & 0xC0) != 0x80) {
                    if (count == limit - 1)
                        cut = i;
                    ++count;
                }
            }
            if (count > limit)
                line = trim(line.substr(0, cut)) + "…";
            return line;
        }
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return std::nullopt;
}

std::optional<std::pair<std::string, std::string>> identify(const json& payload) {
    if (!payload.is_object())
        return std::nullopt;
    std::string id = stringAt(payload, "session_id");
    std::string name = stringAt(payload, "hook_event_name");
    if (id.empty() || name.empty())
        return std::nullopt;
    return std::pair{std::move(id), std::move(name)};
}

SessionTransition decide(Provider provider, const json& payload,
                         const std::optional<AgentSession>& existing, TimePoint now) {
    const auto identity = identify(payload);
    if (!identity || !SessionStore::isValidSessionID(identity->first))
        return Ignore{};
    const auto& [id, event] = *identity;
    if (event == "SessionEnd")
        return existing ? SessionTransition{Remove{}} : SessionTransition{Ignore{}};
    if (event == "UserPromptSubmit") {
        AgentSession session = base(provider, id, payload, existing, now);
        session.turnStartedAt = now;
        if (auto title = titleFromPrompt(stringAt(payload, "prompt")))
            session.title = std::move(title);
        return moveTo(std::move(session), State::running);
    }
    if (event == "PostToolUse" || event == "PreToolUse") {
        if (existing && existing->state == State::running &&
            secondsBetween(existing->updatedAt, now) < kRunningRefreshSeconds)
            return Ignore{}; // the hot path: agents run this after every tool call
        return moveTo(base(provider, id, payload, existing, now), State::running);
    }
    if (event == "PermissionRequest")
        return moveTo(base(provider, id, payload, existing, now), State::waiting);
    if (event == "Notification") {
        switch (notificationKind(payload)) {
        case NotificationKind::permission:
            return moveTo(base(provider, id, payload, existing, now), State::waiting);
        case NotificationKind::idle:
            if (!existing || existing->state == State::done)
                return Ignore{};
            return moveTo(base(provider, id, payload, existing, now), State::done);
        case NotificationKind::other:
            return Ignore{};
        }
    }
    if (event == "Stop")
        return moveTo(base(provider, id, payload, existing, now), State::done);
    return Ignore{};
}

} // namespace ravo::sessions::SessionEvents
