#include "connectivity/network_info_reader.h"

#include "base/atomic_file.h"
#include "base/trimmed.h"
#include "connectivity/platform/linux/route_parsers.h"

#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if_arp.h>
#include <netdb.h>
#include <sys/socket.h>

namespace ravo::connectivity::NetworkInfoReader {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kSmallFile = 64 * 1024;

std::optional<std::string> firstLine(const fs::path& path) {
    const auto text = readFile(path, kSmallFile);
    if (!text)
        return std::nullopt;
    std::string line = trimmed(std::string_view(*text).substr(0, text->find('\n')));
    return line.empty() ? std::nullopt : std::optional(line);
}

// What the interface is, in the words a network settings panel uses.
std::string displayName(const fs::path& device) {
    std::error_code error;
    if (fs::exists(device / "wireless", error) || fs::exists(device / "phy80211", error))
        return "Wi-Fi";
    if (fs::exists(device / "bridge", error))
        return "Bridge";
    const auto type = firstLine(device / "type").value_or("");
    if (type == std::to_string(ARPHRD_ETHER))
        return fs::exists(device / "device", error) ? "Ethernet" : "Virtual Ethernet";
    if (type == std::to_string(ARPHRD_PPP))
        return "PPP";
    if (type == std::to_string(ARPHRD_NONE))
        return "VPN";
    return "Network";
}

} // namespace

NetworkInterfaceInfo read(const Roots& roots) {
    NetworkInterfaceInfo info;
    // The IPv4 default route's interface, else the IPv6 one's: either is a way out.
    std::vector<std::string> names;
    if (const auto routes = readFile(roots.proc / "net" / "route", 1024 * 1024))
        names = kernel::parseDefaultRoutes(*routes);
    if (const auto routes = readFile(roots.proc / "net" / "ipv6_route", 1024 * 1024))
        for (auto& name : kernel::parseDefaultIPv6Routes(*routes))
            names.push_back(std::move(name));
    for (const auto& name : names) {
        if (name != "lo") {
            info.bsdName = name;
            break;
        }
    }
    if (!info.bsdName)
        return info;
    const fs::path device = roots.sysClassNet / *info.bsdName;
    std::error_code error;
    if (fs::is_directory(device, error)) {
        info.displayName = displayName(device);
        const auto address = firstLine(device / "address");
        if (address && *address != "00:00:00:00:00:00")
            info.macAddress = address;
    }
    info.localIPv4 = ipv4Address(*info.bsdName);
    info.localIPv6 = ipv6Address(*info.bsdName);
    if (const auto wireless = readFile(roots.proc / "net" / "wireless", kSmallFile))
        info.wifiRSSI = wirelessSignalDbm(*wireless, *info.bsdName);
    return info;
}

std::optional<std::string> ipv4Address(const std::string& interfaceName) {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0 || !list)
        return std::nullopt;
    std::optional<std::string> found;
    for (const ifaddrs* entry = list; entry && !found; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_name ||
            interfaceName != entry->ifa_name)
            continue;
        char host[1025];
        if (::getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host, sizeof host, nullptr, 0,
                          NI_NUMERICHOST) == 0)
            found = host;
    }
    ::freeifaddrs(list);
    return found;
}

std::optional<std::string> ipv6Address(const std::string& interfaceName) {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0 || !list)
        return std::nullopt;
    std::vector<std::string> addresses;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET6 || !entry->ifa_name ||
            interfaceName != entry->ifa_name)
            continue;
        char host[INET6_ADDRSTRLEN];
        const auto* address = reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr);
        if (::inet_ntop(AF_INET6, &address->sin6_addr, host, sizeof host))
            addresses.emplace_back(host);
    }
    ::freeifaddrs(list);
    return preferredIPv6(addresses);
}

} // namespace ravo::connectivity::NetworkInfoReader
