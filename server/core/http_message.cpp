#include "server/core/http_message.h"

#include <nlohmann/json.hpp>

namespace ravo::server {

HttpResponse jsonResponse(int status, const std::string& json) {
    return HttpResponse{status, "application/json", json, {}};
}

HttpResponse errorResponse(int status, const std::string& detail) {
    return jsonResponse(status, nlohmann::json{{"detail", detail}}.dump());
}

} // namespace ravo::server
