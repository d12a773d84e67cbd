#include "sessions/core/agent_session.h"

#include <nlohmann/json.hpp>

namespace ravo::sessions {

using nlohmann::json;

std::string AgentSession::fileName(Provider provider, const std::string& sessionID) {
    return std::string(usage::rawValue(provider)) + "-" + sessionID + ".json";
}

std::string AgentSession::id() const {
    return fileName(provider, sessionID);
}

std::string_view rawValue(AgentSession::State state) {
    switch (state) {
    case AgentSession::State::running:
        return "running";
    case AgentSession::State::waiting:
        return "waiting";
    case AgentSession::State::done:
        return "done";
    }
    return "running";
}

std::optional<AgentSession::State> stateFromRaw(std::string_view raw) {
    for (auto state :
         {AgentSession::State::running, AgentSession::State::waiting, AgentSession::State::done})
        if (rawValue(state) == raw)
            return state;
    return std::nullopt;
}

nlohmann::ordered_json toJson(const AgentSession& s) {
    nlohmann::ordered_json j;
    j["provider"] = usage::rawValue(s.provider);
    j["sessionID"] = s.sessionID;
    j["project"] = s.project;
    if (s.title)
        j["title"] = *s.title;
    j["state"] = rawValue(s.state);
    j["updatedAt"] = unixSeconds(s.updatedAt);
    j["turnStartedAt"] = unixSeconds(s.turnStartedAt);
    return j;
}

std::optional<AgentSession> sessionFromJson(const json& j) {
    try {
        AgentSession s;
        const auto provider = usage::providerFromRaw(j.at("provider").get<std::string>());
        const auto state = stateFromRaw(j.at("state").get<std::string>());
        if (!provider || !state)
            return std::nullopt;
        s.provider = *provider;
        s.state = *state;
        s.sessionID = j.at("sessionID").get<std::string>();
        s.project = j.at("project").get<std::string>();
        if (const auto title = j.find("title"); title != j.end() && !title->is_null())
            s.title = title->get<std::string>();
        s.updatedAt = fromUnixSeconds(j.at("updatedAt").get<double>());
        s.turnStartedAt = fromUnixSeconds(j.at("turnStartedAt").get<double>());
        return s;
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

} // namespace ravo::sessions
