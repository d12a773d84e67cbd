#pragma once

#include "base/time.h"
#include "sessions/core/session_store.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

// How an agent's hook events move a session between running, waiting and done.
//
//   UserPromptSubmit        running; a new turn starts; the title is the prompt's first line
//   PostToolUse             running (also after an approved permission prompt); while a
//                           running record is under a minute old nothing is written
//   Notification            permission_prompt: waiting. idle_prompt (the reminder after a
//                           finished turn): done, and a done session stays done. Older
//                           versions without notification_type are read by their message.
//   PermissionRequest       waiting (Codex)
//   Stop                    done
//   SessionEnd              the record is removed
//   anything else           nothing
//
// "project" is the name of the working folder. A payload without a valid session id
// changes nothing.
namespace ravo::sessions::SessionEvents {

// The event's session id and name; nothing when the payload is not an object with both.
std::optional<std::pair<std::string, std::string>> identify(const nlohmann::json& payload);

SessionTransition decide(Provider provider, const nlohmann::json& payload,
                         const std::optional<AgentSession>& existing, TimePoint now);

// The first non-empty line, at most 80 characters (cut at a character boundary, with "…").
std::optional<std::string> titleFromPrompt(const std::string& prompt);
std::string projectName(const std::string& workingFolder);

inline constexpr double kRunningRefreshSeconds = 60;

} // namespace ravo::sessions::SessionEvents
