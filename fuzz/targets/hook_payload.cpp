// The JSON that Claude Code and Codex send to `ravo-hook claude|codex` on standard input.
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "sessions/core/session_events.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;
using namespace ravo::sessions;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto payload = parseJsonOrDiscarded(text);
    const auto identity = SessionEvents::identify(payload);
    if (!identity)
        return 0;
    const TimePoint now = fromUnixSeconds(1'800'000'000);
    AgentSession running;
    running.sessionID = identity->first;
    running.project = "project";
    running.updatedAt = running.turnStartedAt = now - std::chrono::minutes(5);
    for (auto provider : {Provider::claude, Provider::codex}) {
        for (const auto& existing : {std::optional<AgentSession>(), std::optional(running)}) {
            const auto transition = SessionEvents::decide(provider, payload, existing, now);
            const auto* upsert = std::get_if<Upsert>(&transition);
            if (!upsert)
                continue;
            // The record the hook would write must read back as itself.
            const auto record = parseJson(toJson(upsert->session).dump());
            FUZZ_CHECK(record);
            const auto decoded = sessionFromJson(*record);
            FUZZ_CHECK(decoded && decoded->sessionID == upsert->session.sessionID &&
                       decoded->title == upsert->session.title &&
                       decoded->project == upsert->session.project);
        }
    }
    return 0;
}
