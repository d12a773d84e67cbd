#pragma once

#include "base/result.h"

#include <filesystem>
#include <nlohmann/json.hpp>

// Reading and writing a user's own JSON configuration (Claude Code's settings, Codex's
// hooks). Whatever Ravo does not own survives, a file that does not parse is never
// written, and the user's original is kept once beside it as "<name>.ravo-backup".
namespace ravo::JsonConfigFile {

// A missing or empty file reads as an empty object. Anything else that is not a JSON
// object of sane depth is a failure whose text names the file and the reason.
Result<nlohmann::json> read(const std::filesystem::path& path);
// The same rules over text already read; `path` only names the file in the failure.
Result<nlohmann::json> parse(std::string_view text, const std::filesystem::path& path);

// Pretty-printed with sorted keys, written atomically through any symlink, keeping the
// file's mode and owner; a new file gets `newFileMode`. Before the first change the
// original is backed up; a file that did not exist yet is recorded as such instead.
Status write(const nlohmann::json& config, const std::filesystem::path& path,
             std::filesystem::perms newFileMode);

std::filesystem::path backupPath(const std::filesystem::path& path);
// Written in place of a backup when there was no file (or an empty one) before Ravo's change.
std::filesystem::path noOriginalMarkerPath(const std::filesystem::path& path);

} // namespace ravo::JsonConfigFile
