#include "wire/site_problem.h"

namespace ravo::wire {

std::string siteProblemText(const std::string& kind, std::optional<std::int64_t> statusCode,
                            const std::optional<std::string>& detail) {
    if (kind == "timeout")
        return "No response in time";
    if (kind == "certificate_invalid")
        return "The TLS certificate is invalid or expired";
    if (kind == "keyword_missing")
        return "The expected text isn't on the page";
    if (kind == "http_status")
        return "The server answered HTTP " + std::to_string(statusCode.value_or(0));
    if (detail && !detail->empty())
        return "Can't connect: " + *detail;
    return "Can't connect";
}

} // namespace ravo::wire
