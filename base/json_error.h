#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace ravo::json {

// What a `--json` command prints when it fails, so scripts always get a document.
inline nlohmann::json errorDocument(const std::string& message) {
    return {{"error", {{"message", message}}}};
}

} // namespace ravo::json
