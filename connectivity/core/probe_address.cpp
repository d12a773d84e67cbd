#include "connectivity/core/probe_address.h"

#include "base/trimmed.h"

#include <charconv>

namespace ravo::connectivity {

namespace {

constexpr const char* kShape = "Give the address as host:port, for example 1.1.1.1:443.";

bool isHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == ':' || c == '_';
}

} // namespace

Result<ProbeAddress> ProbeAddress::parse(std::string_view text) {
    text = trimmedView(text);
    std::string_view host, port;
    if (text.starts_with('[')) {
        const auto close = text.find(']');
        if (close == std::string_view::npos || close + 1 >= text.size() || text[close + 1] != ':')
            return Failure{kShape};
        host = text.substr(1, close - 1);
        port = text.substr(close + 2);
        if (host.find(':') == std::string_view::npos)
            return Failure{kShape};
    } else {
        const auto colon = text.rfind(':');
        if (colon == std::string_view::npos || text.find(':') != colon)
            return Failure{kShape};
        host = text.substr(0, colon);
        port = text.substr(colon + 1);
    }
    if (host.empty() || host.size() > 253)
        return Failure{kShape};
    for (char c : host)
        if (!isHostCharacter(c))
            return Failure{kShape};
    unsigned value = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), value);
    if (port.empty() || error != std::errc{} || end != port.data() + port.size() || value == 0 ||
        value > 65535)
        return Failure{"The port must be a number from 1 to 65535."};
    return ProbeAddress{std::string(host), static_cast<std::uint16_t>(value)};
}

std::string ProbeAddress::text() const {
    const bool bracketed = host.find(':') != std::string::npos;
    return (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

Result<std::string> ProbeAddress::checked(std::string_view typed) {
    const auto address = parse(typed);
    if (!address)
        return address.failure();
    return address->text();
}

} // namespace ravo::connectivity
