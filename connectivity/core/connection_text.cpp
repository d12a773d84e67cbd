#include "connectivity/core/connection_text.h"

namespace ravo::connectivity {

std::string rawValue(const ConnectionState& state) {
    if (std::holds_alternative<Online>(state))
        return "online";
    if (const auto* offline = std::get_if<Offline>(&state))
        return offline->hasLink ? "noInternet" : "offline";
    return "degraded";
}

std::string headline(const std::optional<ConnectionState>& state) {
    if (!state)
        return "Checking…";
    if (std::holds_alternative<Online>(*state))
        return "Online";
    if (const auto* offline = std::get_if<Offline>(&*state))
        return offline->hasLink ? "No internet" : "You're offline";
    return "Poor connection";
}

} // namespace ravo::connectivity
