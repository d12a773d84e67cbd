#pragma once

#include "server/checker/site_verdict.h"

#include <cstddef>
#include <string>

namespace ravo::server {

// The Telegram message for one site event, in HTML parse mode: a bold title, the body,
// and the address. Only <, > and & need escaping there. The name, the problem and the
// address are the users' texts: each is cut to one line of its limit, well inside
// Telegram's 4096 characters.
inline constexpr std::size_t kNameCharacters = 100;
inline constexpr std::size_t kProblemCharacters = 300;
inline constexpr std::size_t kURLCharacters = 500;
std::string alertMessage(const SiteEvent& event, const std::string& siteName,
                         const std::string& url);

// "45 s", "12 min", "3 h 5 min", "2 d 4 h".
std::string durationText(double seconds);

std::string escapeHtml(const std::string& text);

// At most `maxCharacters` UTF-8 characters, then "…"; control characters become spaces.
std::string clippedLine(const std::string& text, std::size_t maxCharacters);

} // namespace ravo::server
