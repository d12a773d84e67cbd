#pragma once

#include "base/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Ravo/settings.json inside a folder that a sync client (Nextcloud, Syncthing, Dropbox...)
// keeps the same on every computer, and often shares with other people. Reads and writes hold
// a lock beside the file and a write replaces the file in one rename, so neither Ravo nor the
// client sees half a file. Only the file of that exact name is ever read; a client's conflict
// copies are left where they are. Nothing there is followed or waited on: a link, a pipe or
// anything but a plain file at that name is refused, and a lock another program holds is
// "busy" at once.
namespace ravo::sync::SyncedFolder {

// The error of a lock someone else holds: try again in a moment.
inline constexpr std::string_view kBusy =
    "The synced settings file is in use by another program; Ravo will try again.";

std::filesystem::path settingsFile(const std::filesystem::path& folder);

// The file's text, or nothing when there is no file yet.
Result<std::optional<std::string>> read(const std::filesystem::path& folder);
Status write(const std::filesystem::path& folder, const std::string& text);

bool isBusy(const Failure& failure);

// The synced folders found in `home`, for the settings to offer.
std::vector<std::filesystem::path> candidates(const std::filesystem::path& home);

} // namespace ravo::sync::SyncedFolder
