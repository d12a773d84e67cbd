#pragma once

#include "core/result.h"

#include <filesystem>
#include <nlohmann/json.hpp>

// Reading and writing a user's own JSON configuration (Claude Code's settings, Codex's
// hooks). Whatever Ravo does not own survives, a file that does not parse is never
// written, and the user's original is kept once beside it as "<name>.ravo-backup".
namespace ravo::JsonConfigFile {

// A missing or empty file reads as an empty object.
Result<nlohmann::json> read(const std::filesystem::path& path);

// Pretty-printed with sorted keys, written atomically; keeps the file's permissions, or
// gives a new file `newFileMode`.
Status write(const nlohmann::json& config, const std::filesystem::path& path,
             std::filesystem::perms newFileMode);

std::filesystem::path backupPath(const std::filesystem::path& path);

} // namespace ravo::JsonConfigFile
