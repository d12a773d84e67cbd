#pragma once

#include "base/time.h"
#include "usage/core/provider.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace ravo::sessions {

using usage::Provider;

// One tracked agent session, stored as one JSON file that ravo-hook writes.
struct AgentSession {
    enum class State { running, waiting, done };

    Provider provider = Provider::claude;
    std::string sessionID;
    std::string project; // the working folder's name
    std::optional<std::string> title;
    State state = State::running;
    TimePoint updatedAt;
    TimePoint turnStartedAt;
    bool operator==(const AgentSession&) const = default;

    // The record's file name: "claude-<session id>.json".
    std::string id() const;
    static std::string fileName(Provider provider, const std::string& sessionID);
};

std::string_view rawValue(AgentSession::State state);
std::optional<AgentSession::State> stateFromRaw(std::string_view raw);

// Dates as Unix seconds, keys in the order of the fields; a record missing a key other
// than "title", or with an unknown provider or state, does not decode.
nlohmann::ordered_json toJson(const AgentSession& session);
std::optional<AgentSession> sessionFromJson(const nlohmann::json& json);

} // namespace ravo::sessions
