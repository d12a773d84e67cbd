#include "connectivity/core/network_interface_info.h"

#include "base/trimmed.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

namespace ravo::connectivity {

namespace {

template <typename T> nlohmann::json orNull(const std::optional<T>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

// The next run of non-blank characters after `at`, which moves past it.
std::string_view nextField(std::string_view line, std::size_t& at) {
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t'))
        ++at;
    const std::size_t start = at;
    while (at < line.size() && line[at] != ' ' && line[at] != '\t')
        ++at;
    return line.substr(start, at - start);
}

} // namespace

nlohmann::json toJson(const NetworkInterfaceInfo& info) {
    return {{"interface", orNull(info.bsdName)},     {"displayName", orNull(info.displayName)},
            {"macAddress", orNull(info.macAddress)}, {"ipv4", orNull(info.localIPv4)},
            {"ipv6", orNull(info.localIPv6)},        {"wifiRSSI", orNull(info.wifiRSSI)}};
}

std::optional<std::string> preferredIPv6(const std::vector<std::string>& addresses) {
    std::optional<std::string> uniqueLocal;
    for (std::string address : addresses) {
        for (char& c : address)
            c = char(std::tolower(static_cast<unsigned char>(c)));
        const bool linkLocal = address.size() > 3 && address[0] == 'f' && address[1] == 'e' &&
                               std::string_view("89ab").find(address[2]) != std::string_view::npos;
        if (address.empty() || address == "::1" || linkLocal || address.find(':') == address.npos)
            continue;
        if (address.starts_with("fc") || address.starts_with("fd")) {
            if (!uniqueLocal)
                uniqueLocal = address;
            continue;
        }
        return address;
    }
    return uniqueLocal;
}

std::optional<int> wirelessSignalDbm(std::string_view text, std::string_view interface) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        const auto colon = line.find(':');
        if (colon == std::string_view::npos || trimmedView(line.substr(0, colon)) != interface)
            continue;
        std::size_t at = colon + 1;
        nextField(line, at); // status
        nextField(line, at); // link quality
        std::string_view level = nextField(line, at);
        if (level.ends_with('.'))
            level.remove_suffix(1);
        double dbm = 0;
        const auto [stop, error] = std::from_chars(level.data(), level.data() + level.size(), dbm);
        if (level.empty() || error != std::errc{} || stop != level.data() + level.size() ||
            !std::isfinite(dbm))
            return std::nullopt;
        // Old drivers report an unsigned byte: 200 is -56 dBm.
        if (dbm > 63 && dbm <= 255)
            dbm -= 256;
        // Rounded first: -0.3 dBm is no reading, not 0 dBm.
        const long rounded = std::lround(dbm);
        if (rounded >= 0 || rounded < -150)
            return std::nullopt;
        return static_cast<int>(rounded);
    }
    return std::nullopt;
}

} // namespace ravo::connectivity
