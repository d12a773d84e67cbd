#pragma once

#include "base/result.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace ravo {

// Writes to a temporary file beside the target and renames it over the target, so a reader
// sees either the old or the new content, never a half-written file.
// - A symlink is followed: its target is replaced, in the target's folder, and the link stays.
// - A file with several hard links is rewritten in place instead, so the links stay shared.
// - An existing file keeps its mode and owner, and a read-only one is refused
//   ("permission denied"); `mode` sets the permissions of a new file (default 0644).
Status writeFileAtomically(const std::filesystem::path& path, std::string_view bytes,
                           std::optional<std::filesystem::perms> mode = std::nullopt);

// Whether writeFileAtomically would be allowed to replace `path` (missing counts as yes).
Status checkReplaceable(const std::filesystem::path& path);

// The whole file, or nothing when it is missing, unreadable or larger than `maxBytes`.
std::optional<std::string> readFile(const std::filesystem::path& path,
                                    std::size_t maxBytes = 16 * 1024 * 1024);

// The file a path finally names after following symlinks; the path itself when it is none.
std::filesystem::path resolvedLinkTarget(const std::filesystem::path& path);

// Removes temporary files that a killed writer left in `folder`, once they are older than
// `minimumAge` (younger ones may belong to a writer that is still at work).
void removeLeftoverTemporaries(const std::filesystem::path& folder,
                               std::chrono::seconds minimumAge = std::chrono::seconds(600));

// Whether a file name has the form of writeFileAtomically's temporaries.
bool isLeftoverTemporaryName(std::string_view fileName);

} // namespace ravo
