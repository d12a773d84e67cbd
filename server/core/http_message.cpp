#include "server/core/http_message.h"

#include <nlohmann/json.hpp>

namespace ravo::server {

HttpResponse jsonResponse(int status, const std::string& json) {
    return HttpResponse{status, "application/json", json, {}};
}

HttpResponse errorResponse(int status, const std::string& detail) {
    // A detail may quote what the client sent, broken UTF-8 and all: replace, never throw.
    return jsonResponse(status, nlohmann::json{{"detail", detail}}.dump(
                                    -1, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace ravo::server
