#pragma once

#include "usage/codex_app_server.h"

#include <filesystem>
#include <optional>

#include <qcoro/qcorotask.h>

namespace ravo::sessions {

// Asks `codex app-server` for its hooks and whether the user trusts Ravo's. Nothing when
// the question failed or the answer was not understood; the caller keeps what it knew.
QCoro::Task<std::optional<bool>> codexHooksNeedApproval(usage::CodexAppServer server,
                                                        std::filesystem::path home);

inline constexpr const char* kCodexApprovalMessage =
    "Codex hooks need approval: run codex, type /hooks and trust the ravo-hook entries, then "
    "restart the Codex app.";

} // namespace ravo::sessions
