#include "server/http/http_message.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace ravo::server {

HttpResponse jsonResponse(int status, const std::string& json) {
    return HttpResponse{status, "application/json", json, {}};
}

HttpResponse errorResponse(int status, const std::string& detail) {
    // A detail may quote what the client sent, broken UTF-8 and all: replace, never throw.
    return jsonResponse(status, nlohmann::json{{"detail", detail}}.dump(
                                    -1, ' ', false, nlohmann::json::error_handler_t::replace));
}

HttpResponse rateLimitedResponse(std::chrono::seconds retryAfter) {
    HttpResponse response = errorResponse(429, "rate_limited");
    response.headers["Retry-After"] = std::to_string(std::max<long long>(1, retryAfter.count()));
    return response;
}

} // namespace ravo::server
