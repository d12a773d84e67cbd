#pragma once

#include "server/core/http_message.h"
#include "server/http/http_server.h"

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include <string>
#include <string_view>
#include <variant>

namespace ravo::server {

// A parsed message as the handlers see it: the target split, header names lower case.
HttpRequest
requestFromMessage(const boost::beast::http::request<boost::beast::http::string_body>& message,
                   const std::string& peer);

// One request read from `bytes` the way the front end reads it from a connection (the
// header under its limit, then the body under its own), or the status it is refused with.
std::variant<HttpRequest, int> readHttpRequest(std::string_view bytes, const HttpLimits& limits,
                                               const std::string& peer);

} // namespace ravo::server
