#include "server/http/request_origin.h"

#include "base/trimmed.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace ravo::server {

namespace {

bool isPort(std::string_view digits) {
    if (digits.empty() || digits.size() > 5 ||
        !std::all_of(digits.begin(), digits.end(),
                     [](unsigned char c) { return std::isdigit(c) != 0; }))
        return false;
    int port = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), port);
    return port <= 65535;
}

bool isName(std::string_view name) {
    if (name.empty() || name.size() > 253)
        return false;
    std::size_t label = 0;
    for (const unsigned char c : name) {
        if (c == '.') {
            if (label == 0)
                return false;
            label = 0;
            continue;
        }
        if (!std::isalnum(c) && c != '-')
            return false;
        if (++label > 63)
            return false;
    }
    return true;
}

bool isBracketedV6(std::string_view text) {
    if (text.size() < 4 || text.size() > 47 || text.front() != '[' || text.back() != ']')
        return false;
    const auto inside = text.substr(1, text.size() - 2);
    return inside.find(':') != std::string_view::npos &&
           std::all_of(inside.begin(), inside.end(), [](unsigned char c) {
               return std::isxdigit(c) != 0 || c == ':' || c == '.';
           });
}

// A proxy may list several values when there were several hops: the last is the one the
// trusted proxy next to us wrote.
std::string_view lastValue(std::string_view list) {
    const auto comma = list.rfind(',');
    return trimmedView(comma == std::string_view::npos ? list : list.substr(comma + 1));
}

std::string header(const HttpRequest& request, const std::string& name) {
    const auto found = request.headers.find(name);
    return found == request.headers.end() ? std::string() : found->second;
}

// A Forwarded element's parameter ("proto", "host"), unquoted.
std::string forwardedParameter(std::string_view element, std::string_view name) {
    while (!element.empty()) {
        const auto semicolon = element.find(';');
        const auto pair = trimmedView(element.substr(0, semicolon));
        const auto equals = pair.find('=');
        if (equals != std::string_view::npos) {
            std::string key(trimmedView(pair.substr(0, equals)));
            std::transform(key.begin(), key.end(), key.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            auto value = trimmedView(pair.substr(equals + 1));
            if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
                value = value.substr(1, value.size() - 2);
            if (key == name)
                return std::string(value);
        }
        if (semicolon == std::string_view::npos)
            break;
        element.remove_prefix(semicolon + 1);
    }
    return {};
}

} // namespace

bool isHostAndPort(std::string_view text) {
    if (text.empty() || text.size() > 261)
        return false;
    if (text.front() == '[') {
        const auto close = text.find(']');
        if (close == std::string_view::npos)
            return false;
        const auto rest = text.substr(close + 1);
        return isBracketedV6(text.substr(0, close + 1)) &&
               (rest.empty() || (rest.front() == ':' && isPort(rest.substr(1))));
    }
    const auto colon = text.find(':');
    if (colon == std::string_view::npos)
        return isName(text);
    return isName(text.substr(0, colon)) && isPort(text.substr(colon + 1));
}

std::optional<std::string> requestOrigin(const HttpRequest& request) {
    std::string scheme = "http";
    std::string host = header(request, "host");
    if (request.viaTrustedProxy) {
        std::string proto(lastValue(header(request, "x-forwarded-proto")));
        std::string forwardedHost(lastValue(header(request, "x-forwarded-host")));
        if (const std::string forwarded = header(request, "forwarded"); !forwarded.empty()) {
            const auto element = lastValue(forwarded);
            if (auto value = forwardedParameter(element, "proto"); !value.empty())
                proto = value;
            if (auto value = forwardedParameter(element, "host"); !value.empty())
                forwardedHost = value;
        }
        std::transform(proto.begin(), proto.end(), proto.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (proto == "https" || proto == "http")
            scheme = proto;
        if (!forwardedHost.empty())
            host = forwardedHost;
    }
    if (!isHostAndPort(host))
        return std::nullopt;
    std::transform(host.begin(), host.end(), host.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return scheme + "://" + host;
}

} // namespace ravo::server
