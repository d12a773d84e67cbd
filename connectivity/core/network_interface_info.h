#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::connectivity {

// Facts about the interface that carries the default IPv4 route.
struct NetworkInterfaceInfo {
    std::optional<std::string> bsdName; // the kernel's name, "wlp2s0"
    std::optional<std::string> displayName;
    std::optional<std::string> macAddress;
    std::optional<std::string> localIPv4;
    std::optional<int> wifiRSSI;          // dBm
    std::optional<std::string> localIPv6; // one that reaches beyond the link
    bool operator==(const NetworkInterfaceInfo&) const = default;
};

nlohmann::json toJson(const NetworkInterfaceInfo& info);

// Of an interface's IPv6 addresses in numeric form, the one to show: a global one, else a
// unique local one; never the loopback or a link-local one, which reach no further.
std::optional<std::string> preferredIPv6(const std::vector<std::string>& addresses);

// The signal level of `interface` from /proc/net/wireless, in dBm. A level of 0 means the
// card is not associated and gives nothing.
std::optional<int> wirelessSignalDbm(std::string_view procNetWireless, std::string_view interface);

} // namespace ravo::connectivity
