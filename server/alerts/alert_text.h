#pragma once

#include "server/checker/site_verdict.h"

#include <string>

namespace ravo::server {

// The Telegram message for one site event, in HTML parse mode: a bold title, the body,
// and the address. Only <, > and & need escaping there.
std::string alertMessage(const SiteEvent& event, const std::string& siteName,
                         const std::string& url);

// "45 s", "12 min", "3 h 5 min", "2 d 4 h".
std::string durationText(double seconds);

std::string escapeHtml(const std::string& text);

} // namespace ravo::server
