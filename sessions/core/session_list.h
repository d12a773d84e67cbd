#pragma once

#include "sessions/core/agent_session.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

// The sessions as people read them: newest first, with their age.
namespace ravo::sessions::SessionList {

std::vector<AgentSession> newestFirst(std::vector<AgentSession> sessions);

// "just now", "5 min ago", "2 h ago", "3 d ago".
std::string age(TimePoint since, TimePoint now);

// One line: state, agent, project, title and age.
std::string line(const AgentSession& session, TimePoint now);

// What an empty list says while tracking is on: wait for a session, or install an agent
// first (the hooks go in when Ravo next starts and finds one).
std::string_view emptyText(bool anyAgentHooked);

// The records with ISO 8601 dates, for the commands' JSON.
nlohmann::json toReadableJson(const std::vector<AgentSession>& sessions);

} // namespace ravo::sessions::SessionList
