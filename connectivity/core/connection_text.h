#pragma once

#include "connectivity/core/connection_state.h"

#include <optional>
#include <string>

namespace ravo::connectivity {

// "online", "offline", "noInternet" or "degraded": the log's and `ravo status --json`'s word.
std::string rawValue(const ConnectionState& state);
// The network detail's headline; "Checking…" before the first verdict.
std::string headline(const std::optional<ConnectionState>& state);

} // namespace ravo::connectivity
