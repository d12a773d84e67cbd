#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace ravo::server {

struct Fetched {
    long status = 0; // 0: no answer at all
    std::string body;
};

// One blocking HTTP(S) request through libcurl: a GET, or a POST of `body` with its type.
// The answer's body is kept up to 1 MiB.
Fetched fetch(const std::string& url, const std::optional<std::string>& body = std::nullopt,
              const std::string& contentType = "application/json",
              std::chrono::seconds timeout = std::chrono::seconds(15));

} // namespace ravo::server
