#include "server/alerts/alert_text.h"

#include <cmath>

namespace ravo::server {

std::string escapeHtml(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c == '&')
            escaped += "&amp;";
        else
            escaped += c;
    }
    return escaped;
}

std::string clippedLine(const std::string& text, std::size_t maxCharacters) {
    std::string line;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool startsCharacter = (byte & 0xC0) != 0x80;
        if (startsCharacter && ++characters > maxCharacters) {
            line += "…";
            break;
        }
        // A line break in a stranger's text would pass for a line of the message.
        line += byte < 0x20 || byte == 0x7F ? ' ' : text[i];
    }
    return line;
}

std::string durationText(double seconds) {
    const auto total = static_cast<long long>(std::llround(std::max(0.0, seconds)));
    if (total < 60)
        return std::to_string(total) + " s";
    const long long minutes = total / 60;
    if (minutes < 60)
        return std::to_string(minutes) + " min";
    const long long hours = minutes / 60;
    if (hours < 24)
        return std::to_string(hours) + " h" +
               (minutes % 60 ? " " + std::to_string(minutes % 60) + " min" : "");
    return std::to_string(hours / 24) + " d" +
           (hours % 24 ? " " + std::to_string(hours % 24) + " h" : "");
}

std::string alertMessage(const SiteEvent& event, const std::string& siteName,
                         const std::string& url) {
    const std::string name = escapeHtml(clippedLine(siteName, kNameCharacters));
    std::string title;
    std::string body;
    switch (event.kind) {
    case SiteEvent::Kind::down:
        title = name + " is down";
        body = escapeHtml(clippedLine(event.problem, kProblemCharacters));
        break;
    case SiteEvent::Kind::recovered:
        title = name + " is back up";
        body = event.downForSeconds ? "It was down for " + durationText(*event.downForSeconds) + "."
                                    : "The site responds normally again.";
        break;
    case SiteEvent::Kind::certificateExpiring:
        title = "The certificate for " + name + " is expiring";
        body = event.certificateDaysLeft < 0
                   ? "It has already expired."
                   : "It expires in " + std::to_string(event.certificateDaysLeft) + " days.";
        break;
    }
    return "<b>" + title + "</b>\n" + body + "\n" + escapeHtml(clippedLine(url, kURLCharacters));
}

} // namespace ravo::server
