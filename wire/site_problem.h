#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ravo::wire {

// The user's sentence for a failed check's problem code, as the app and the alerts word it:
// "timeout", "certificate_invalid", "keyword_missing", "http_status" (with the status);
// any other code is a failure to connect, with its detail.
std::string siteProblemText(const std::string& kind, std::optional<std::int64_t> statusCode,
                            const std::optional<std::string>& detail);

} // namespace ravo::wire
