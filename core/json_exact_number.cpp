#include "core/json_exact_number.h"

namespace ravo::JsonExactNumber {

namespace {
// A control character cannot start a real string that came from a decoded record of ours.
constexpr std::string_view kMarker = "\x01"
                                     "exact:";
constexpr std::string_view kEscapedMarker = "\"\\u0001exact:";
} // namespace

nlohmann::json value(std::string_view decimalText) {
    return std::string(kMarker) + std::string(decimalText);
}

std::string dump(const nlohmann::json& document, int indent) {
    std::string text = document.dump(indent);
    std::string out;
    out.reserve(text.size());
    std::size_t position = 0;
    for (;;) {
        const auto start = text.find(kEscapedMarker, position);
        if (start == std::string::npos)
            break;
        const auto digits = start + kEscapedMarker.size();
        const auto close = text.find('"', digits);
        if (close == std::string::npos)
            break;
        out.append(text, position, start - position);
        out.append(text, digits, close - digits);
        position = close + 1;
    }
    out.append(text, position, std::string::npos);
    return out;
}

} // namespace ravo::JsonExactNumber
