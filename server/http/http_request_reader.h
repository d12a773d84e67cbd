#pragma once

#include "server/http/http_message.h"
#include "server/http/http_server.h"
#include "server/net/client_address.h"

#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include <string>
#include <string_view>
#include <variant>

namespace ravo::server {

// A parsed message as the handlers see it: the target split, header names lower case.
HttpRequest
requestFromMessage(const boost::beast::http::request<boost::beast::http::string_body>& message,
                   const std::string& client);

// The client's address as text: the peer, or what a trusted proxy says of it. A header sent
// several times counts as one list, in order.
std::string clientOf(const IpAddress& peer, const boost::beast::http::fields& fields,
                     const ProxyTrust& trust);

// Whether the framing is one a server must refuse: a Transfer-Encoding other than exactly
// "chunked" (what could follow is unknowable, RFC 9112 section 6.1), or one beside a
// Content-Length, or on HTTP/1.0.
bool hasBadFraming(const boost::beast::http::fields& fields, unsigned version);

// One request read from `bytes` the way the front end reads it from a connection (the
// header under its limit, then the body under its own), or the status it is refused with.
std::variant<HttpRequest, int> readHttpRequest(std::string_view bytes, const HttpLimits& limits,
                                               const IpAddress& peer, const ProxyTrust& trust = {});

} // namespace ravo::server
