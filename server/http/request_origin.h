#pragma once

#include "server/http/http_message.h"

#include <optional>
#include <string>
#include <string_view>

namespace ravo::server {

// Whether `text` is a host as a Host header may carry it: a DNS name or IPv4 address, or an
// IPv6 address in brackets, with an optional port; nothing else (no spaces, line breaks,
// paths or user names), at most 261 characters.
bool isHostAndPort(std::string_view text);

// "scheme://host[:port]" as the client reached this server: the Host header on plain HTTP,
// or what a trusted proxy says in X-Forwarded-Proto and X-Forwarded-Host or Forwarded
// (proto=, host=). Nothing when the host is missing or not a host.
std::optional<std::string> requestOrigin(const HttpRequest& request);

} // namespace ravo::server
