#pragma once

#include "base/result.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ravo::connectivity {

// Where the latency probe connects: "host:port", an IPv6 host in brackets.
struct ProbeAddress {
    // A public anycast DNS resolver that also answers on 443.
    static constexpr const char* kDefault = "1.1.1.1:443";
    static constexpr const char* kSettingsKey = "latencyProbeAddress";

    std::string host;
    std::uint16_t port = 443;
    bool operator==(const ProbeAddress&) const = default;

    static Result<ProbeAddress> parse(std::string_view text);
    std::string text() const;
};

} // namespace ravo::connectivity
