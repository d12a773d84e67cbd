#pragma once

#include "usage/core/provider.h"

#include <optional>
#include <string>
#include <string_view>

namespace ravo::sessions {

// "ravo://session/<provider>/<session id>": a link that opens an agent session.
struct SessionLink {
    usage::Provider provider;
    std::string sessionID;
    bool operator==(const SessionLink&) const = default;

    static std::optional<SessionLink> parse(std::string_view url);
    // "ravo://session/claude/<id>"
    std::string url() const;
};

} // namespace ravo::sessions
