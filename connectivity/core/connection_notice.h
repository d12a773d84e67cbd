#pragma once

#include "connectivity/core/connection_state.h"

#include <optional>
#include <string>

namespace ravo::connectivity {

struct ConnectionNotice {
    static constexpr const char* kIdentifier = "connection-state";
    std::string title;
    std::string body;
    bool operator==(const ConnectionNotice&) const = default;

    // What the user is told about a change; nothing when online follows online.
    static std::optional<ConnectionNotice> of(const ConnectionState& state,
                                              const std::optional<ConnectionState>& previous);
};

} // namespace ravo::connectivity
