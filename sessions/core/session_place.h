#pragma once

#include "sessions/core/agent_session.h"

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace ravo::sessions {

// Where an agent session runs, as its hook found it in the environment the agent gave it:
// enough to bring the session's terminal forward when the user opens it.
struct SessionPlace {
    std::optional<std::string> tmuxSocket;  // the server the agent's pane belongs to
    std::optional<std::string> tmuxPane;    // "%3"
    std::optional<std::uint32_t> x11Window; // the terminal's window (WINDOWID)
    bool operator==(const SessionPlace&) const = default;

    bool isKnown() const { return tmuxPane || x11Window; }

    // From TMUX ("/tmp/tmux-1000/default,4242,0"), TMUX_PANE and WINDOWID; anything
    // malformed is left out.
    static SessionPlace fromEnvironment(const std::function<const char*(const char*)>& get);

    // Kept beside the session's record, under a name the record reader passes over.
    static std::string fileName(usage::Provider provider, const std::string& sessionID);
};

nlohmann::json toJson(const SessionPlace& place);
std::optional<SessionPlace> placeFromJson(const nlohmann::json& json);

} // namespace ravo::sessions
