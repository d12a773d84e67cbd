#pragma once

#include "base/result.h"
#include "base/setting.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ravo::connectivity {

// Where the latency probe connects: "host:port", an IPv6 host in brackets.
struct ProbeAddress {
    // A public anycast DNS resolver that also answers on 443.
    static constexpr const char* kDefault = "1.1.1.1:443";
    // The same resolver over IPv6, tried as well when the default is in use.
    static constexpr const char* kDefaultIPv6 = "[2606:4700:4700::1111]:443";
    // A typed address as it is stored, or what is wrong with it.
    static Result<std::string> checked(std::string_view typed);
    static constexpr const char* kSettingsKey = "latencyProbeAddress";

    std::string host;
    std::uint16_t port = 443;
    bool operator==(const ProbeAddress&) const = default;

    static Result<ProbeAddress> parse(std::string_view text);
    std::string text() const;
};

inline constexpr Setting kProbeAddressSetting{ProbeAddress::kSettingsKey,
                                              Setting::Kind::text,
                                              "where the latency probe connects (host:port)",
                                              false,
                                              false,
                                              ProbeAddress::kDefault,
                                              Setting::Store::app,
                                              {},
                                              &ProbeAddress::checked};

} // namespace ravo::connectivity
