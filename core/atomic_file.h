#pragma once

#include "core/result.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace ravo {

// Writes to a temporary file beside `path` and renames it over `path`, so a reader sees
// either the old or the new content, never a half-written file. `mode` sets the
// permissions of the result; without it a new file gets 0644 and an existing one keeps its own.
Status writeFileAtomically(const std::filesystem::path& path, std::string_view bytes,
                           std::optional<std::filesystem::perms> mode = std::nullopt);

// The whole file, or nothing when it is missing, unreadable or larger than `maxBytes`.
std::optional<std::string> readFile(const std::filesystem::path& path,
                                    std::size_t maxBytes = 16 * 1024 * 1024);

} // namespace ravo
