#pragma once

#include "core/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Ravo/settings.json inside a folder that a sync client (Nextcloud, Syncthing, Dropbox...)
// keeps the same on every computer. Reads and writes hold a lock beside the file and a write
// replaces the file in one rename, so neither Ravo nor the client sees half a file. Only the
// file of that exact name is ever read; a client's conflict copies are left where they are.
namespace ravo::sync::SyncedFolder {

std::filesystem::path settingsFile(const std::filesystem::path& folder);

// The file's text, or nothing when there is no file yet.
Result<std::optional<std::string>> read(const std::filesystem::path& folder);
Status write(const std::filesystem::path& folder, const std::string& text);

// The synced folders found in `home`, for the settings to offer.
std::vector<std::filesystem::path> candidates(const std::filesystem::path& home);

} // namespace ravo::sync::SyncedFolder
