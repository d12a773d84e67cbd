#include "wire/site_url.h"

#include "base/trimmed.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace ravo::wire {

namespace {

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// A host name (letters, digits, dots, dashes, underscores, and the percent-encoding and
// non-ASCII bytes of international names), or an IPv6 literal in brackets.
bool isHost(const std::string& host) {
    if (host.empty())
        return false;
    if (host.front() == '[')
        return host.size() > 2 && host.back() == ']' &&
               std::all_of(host.begin() + 1, host.end() - 1, [](unsigned char c) {
                   return std::isxdigit(c) || c == ':' || c == '.';
               });
    return std::all_of(host.begin(), host.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '.' || c == '-' || c == '_' || c == '%' || c >= 0x80;
    });
}

} // namespace

std::optional<std::string> normalizedSiteURL(std::string_view typed) {
    typed = trimmedView(typed);
    if (typed.empty() || typed.size() > 2048 || std::any_of(typed.begin(), typed.end(), isSpace))
        return std::nullopt;
    std::string text(typed);
    if (text.find("://") == std::string::npos)
        text = "https://" + text;
    // The limit is the kept address's: one that grows past it is refused as well.
    if (text.size() > 2048)
        return std::nullopt;
    const auto schemeEnd = text.find("://");
    const std::string scheme = lower(text.substr(0, schemeEnd));
    if (scheme != "http" && scheme != "https")
        return std::nullopt;
    const std::string rest = text.substr(schemeEnd + 3);
    const auto authorityEnd = rest.find_first_of("/?#");
    const std::string authority = rest.substr(0, authorityEnd);
    if (authority.find('@') != std::string::npos)
        return std::nullopt; // a user name or password
    std::string host = authority;
    std::string port;
    const auto bracket = authority.rfind(']');
    const auto colon = authority.rfind(':');
    if (colon != std::string::npos && (bracket == std::string::npos || colon > bracket)) {
        host = authority.substr(0, colon);
        port = authority.substr(colon + 1);
        unsigned number = 0;
        const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
        if (port.empty() || port.size() > 5 || error != std::errc() ||
            end != port.data() + port.size() || number > 65535)
            return std::nullopt;
    }
    if (!isHost(host))
        return std::nullopt;
    return scheme + "://" + lower(host) + (port.empty() ? "" : ":" + port) +
           (authorityEnd == std::string::npos ? "" : rest.substr(authorityEnd));
}

std::optional<std::string> siteHost(std::string_view url) {
    const auto schemeEnd = url.find("://");
    if (schemeEnd == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = url.substr(schemeEnd + 3);
    rest = rest.substr(0, rest.find_first_of("/?#"));
    if (const auto at = rest.rfind('@'); at != std::string_view::npos)
        rest.remove_prefix(at + 1);
    const auto bracket = rest.rfind(']');
    const auto colon = rest.rfind(':');
    if (colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket))
        rest = rest.substr(0, colon);
    if (rest.empty())
        return std::nullopt;
    return std::string(rest);
}

std::string siteDisplayName(std::string_view name, std::string_view url) {
    name = trimmedView(name);
    if (!name.empty())
        return std::string(name);
    if (!siteHost(url))
        return std::string(url);
    // The host alone would call every site on one host by the same name.
    std::string_view rest = url.substr(url.find("://") + 3);
    const auto authorityEnd = rest.find_first_of("/?#");
    if (const auto at = rest.substr(0, authorityEnd).rfind('@'); at != std::string_view::npos)
        rest.remove_prefix(at + 1);
    if (rest.ends_with('/'))
        rest.remove_suffix(1);
    return std::string(rest);
}

} // namespace ravo::wire
