#include "hook/session_hook_command.h"

#include "base/cross_process_signal.h"
#include "base/json_parse.h"
#include "sessions/core/session_events.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace ravo::hook {

using namespace sessions;

int runSessionHook(usage::Provider provider, const std::string& input) {
    const auto payload = parseJsonOrDiscarded(input);
    const auto identity = SessionEvents::identify(payload);
    if (!identity || !SessionStore::isValidSessionID(identity->first))
        return 0;
    const auto existing = SessionStore::load(provider, identity->first);
    const auto transition = SessionEvents::decide(provider, payload, existing, Clock::now());
    if (std::holds_alternative<Ignore>(transition))
        return 0;
    if (!SessionStore::apply(transition, provider, identity->first))
        return 0;
    // The agent's environment says which terminal it runs in, for opening it later.
    if (std::holds_alternative<Upsert>(transition))
        SessionStore::savePlace(SessionPlace::fromEnvironment(std::getenv), provider,
                                identity->first);
    CrossProcessSignal::post(CrossProcessSignal::kSessionsChanged);
    return 0;
}

} // namespace ravo::hook
