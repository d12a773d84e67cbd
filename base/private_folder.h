#pragma once

#include "base/result.h"

#include <filesystem>
#include <optional>

// Places where only this user may read or write: the single-instance socket carries links
// handed to Ravo (a sign-in callback holds an authorization code), so another user of the
// machine must never be able to take its place first.
namespace ravo::PrivateFolder {

// A directory (not a symlink) owned by this user that nobody else can enter or change.
Status check(const std::filesystem::path& folder);

// `runtimeDir` (XDG_RUNTIME_DIR) when it passes `check`; otherwise "ravo-<uid>" under
// `temporaryRoot`, created 0700 when missing and refused when it is not private.
Result<std::filesystem::path> runtimeFolder(const std::optional<std::filesystem::path>& runtimeDir,
                                            const std::filesystem::path& temporaryRoot);

// Missing is fine (nobody listens yet); anything else must be this user's own socket.
Status checkOwnSocket(const std::filesystem::path& socket);

} // namespace ravo::PrivateFolder
