#pragma once

#include "base/result.h"
#include "sessions/core/agent_session.h"
#include "sessions/core/session_place.h"

#include <filesystem>
#include <optional>
#include <variant>
#include <vector>

namespace ravo::sessions {

// What one hook event does to the stored record of its session.
struct Upsert {
    AgentSession session;
    bool operator==(const Upsert&) const = default;
};
struct Remove {
    bool operator==(const Remove&) const = default;
};
struct Ignore {
    bool operator==(const Ignore&) const = default;
};
using SessionTransition = std::variant<Upsert, Remove, Ignore>;

// The "Sessions" folder of the shared container, one file per session. The hook and the
// app both write it; atomic replaces keep every reader safe, the last writer wins.
namespace SessionStore {

std::optional<std::filesystem::path> directory();

// Ids become file names: ASCII letters, digits, "-", "_" and ".", at most 128, not "." or "..".
bool isValidSessionID(std::string_view id);

// The file name comes from `provider` and `sessionID`, never from the record.
Status apply(const SessionTransition& transition, Provider provider, const std::string& sessionID);

std::optional<AgentSession> load(Provider provider, const std::string& sessionID);

// Where a session runs, kept beside its record and removed with it.
Status savePlace(const SessionPlace& place, Provider provider, const std::string& sessionID);
std::optional<SessionPlace> loadPlace(Provider provider, const std::string& sessionID);
std::vector<AgentSession> loadAll(std::optional<Provider> provider = std::nullopt);

// Running or waiting records untouched for 3 hours, done ones after 24 hours, go.
void prune(TimePoint now);

inline constexpr double kStaleActiveSeconds = 10800;
inline constexpr double kStaleDoneSeconds = 86400;

} // namespace SessionStore

} // namespace ravo::sessions
