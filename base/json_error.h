#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace ravo::json {

// What a `--json` command prints when it fails, so scripts always get a document.
inline nlohmann::json errorDocument(const std::string& message) {
    return {{"error", {{"message", message}}}};
}

// A document as a command prints it. Text from outside (a server's answer quoted in a
// message) may not be UTF-8: such bytes are replaced rather than thrown over.
inline std::string printable(const nlohmann::json& document) {
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

inline std::string errorText(const std::string& message) {
    return printable(errorDocument(message));
}

} // namespace ravo::json
