#include "connectivity/platform/linux/route_parsers.h"

#include "base/kernel_text.h"

#include <algorithm>

namespace ravo::connectivity::kernel {

using namespace kernel_text;

std::vector<std::string> parseDefaultRoutes(std::string_view text) {
    std::vector<std::string> names;
    forEachLine(text, [&](std::string_view line) {
        Fields fields(line);
        const auto name = fields.next();
        const auto destination = fields.next();
        fields.next(); // gateway
        const auto flags = parseHex(fields.next());
        // RTF_UP with destination 0.0.0.0
        if (destination == "00000000" && flags && (*flags & 0x1) != 0)
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.emplace_back(name);
    });
    return names;
}

bool hasDefaultIPv6Route(std::string_view text) {
    return !parseDefaultIPv6Routes(text).empty();
}

std::vector<std::string> parseDefaultIPv6Routes(std::string_view text) {
    std::vector<std::string> names;
    forEachLine(text, [&](std::string_view line) {
        Fields fields(line);
        const auto destination = fields.next();
        const auto prefix = fields.next();
        std::string_view last, field;
        while (!(field = fields.next()).empty())
            last = field;
        if (prefix == "00" && destination.find_first_not_of('0') == std::string_view::npos &&
            !destination.empty() && !last.empty() && last != "lo" &&
            std::find(names.begin(), names.end(), last) == names.end())
            names.emplace_back(last);
    });
    return names;
}

} // namespace ravo::connectivity::kernel
