#pragma once

#include <chrono>
#include <map>
#include <string>

namespace ravo::server {

// One HTTP request as the handlers see it: the front end has already enforced the size
// limits and split the target; header names are lower case.
struct HttpRequest {
    std::string method;
    std::string path;  // "/api/v1/sites/status"
    std::string query; // after "?", undecoded
    std::map<std::string, std::string> headers;
    std::string body;
    std::string clientAddress;
    // The peer is a trusted proxy: its forwarding headers say what the client used.
    bool viaTrustedProxy = false;
};

struct HttpResponse {
    int status = 200;
    std::string contentType = "application/json";
    std::string body;
    std::map<std::string, std::string> headers;
    // Sent no sooner than this after it was decided; the thread is free meanwhile.
    std::chrono::milliseconds delay{0};
};

HttpResponse jsonResponse(int status, const std::string& json);
// 4xx answers carry {"detail": ...}.
HttpResponse errorResponse(int status, const std::string& detail);
// 429 "rate_limited", saying when to come back.
HttpResponse rateLimitedResponse(std::chrono::seconds retryAfter);

} // namespace ravo::server
