#include "sessions/session_link.h"

#include "sessions/core/session_store.h"

namespace ravo::sessions {

std::string SessionLink::url() const {
    return "ravo://session/" + std::string(usage::rawValue(provider)) + "/" + sessionID;
}

std::optional<SessionLink> SessionLink::parse(std::string_view url) {
    constexpr std::string_view prefix = "ravo://session/";
    if (!url.starts_with(prefix))
        return std::nullopt;
    url.remove_prefix(prefix.size());
    const auto slash = url.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const auto provider = usage::providerFromRaw(url.substr(0, slash));
    const std::string id(url.substr(slash + 1));
    if (!provider || !sessions::SessionStore::isValidSessionID(id))
        return std::nullopt;
    return SessionLink{*provider, id};
}

} // namespace ravo::sessions
