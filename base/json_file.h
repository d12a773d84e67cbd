#pragma once

#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

namespace ravo {

// A small JSON file that holds an object; nothing when it is missing, unreadable, larger than
// `maxBytes`, not JSON, or not an object.
std::optional<nlohmann::json> readJsonObject(const std::optional<std::filesystem::path>& path,
                                             std::size_t maxBytes = 1024 * 1024);

} // namespace ravo
