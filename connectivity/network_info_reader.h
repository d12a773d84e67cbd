#pragma once

#include "connectivity/core/network_interface_info.h"

#include <filesystem>
#include <optional>
#include <string>

// The primary interface's facts, read when the network detail opens. Every fact that
// cannot be read is left absent; nothing here reports an error.
namespace ravo::connectivity::NetworkInfoReader {

struct Roots {
    std::filesystem::path proc = "/proc";
    std::filesystem::path sysClassNet = "/sys/class/net";
};

NetworkInterfaceInfo read(const Roots& roots = {});
std::optional<std::string> ipv4Address(const std::string& interfaceName);
// See preferredIPv6.
std::optional<std::string> ipv6Address(const std::string& interfaceName);

} // namespace ravo::connectivity::NetworkInfoReader
