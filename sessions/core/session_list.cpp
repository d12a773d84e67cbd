#include "sessions/core/session_list.h"

#include <algorithm>

namespace ravo::sessions::SessionList {

std::vector<AgentSession> newestFirst(std::vector<AgentSession> sessions) {
    std::stable_sort(
        sessions.begin(), sessions.end(),
        [](const AgentSession& a, const AgentSession& b) { return a.updatedAt > b.updatedAt; });
    return sessions;
}

std::string age(TimePoint since, TimePoint now) {
    return ageText(since, now);
}

std::string line(const AgentSession& session, TimePoint now) {
    std::string text(rawValue(session.state));
    text.resize(9, ' ');
    std::string agent(usage::displayName(session.provider));
    agent.resize(8, ' ');
    text += agent + session.project;
    if (session.title)
        text += " — " + *session.title;
    text += " (" + age(session.updatedAt, now) + ")";
    return text;
}

nlohmann::json toReadableJson(const std::vector<AgentSession>& sessions) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& session : sessions) {
        nlohmann::json record = toJson(session);
        record["updatedAt"] = toIso8601(session.updatedAt);
        record["turnStartedAt"] = toIso8601(session.turnStartedAt);
        list.push_back(std::move(record));
    }
    return list;
}

std::string_view emptyText(bool anyAgentHooked) {
    return anyAgentHooked ? "No agent sessions right now."
                          : "Neither Claude Code nor Codex was found. Install one and restart "
                            "Ravo to see its sessions here.";
}

} // namespace ravo::sessions::SessionList
