#include "core/json_exact_number.h"

#include <cstdio>
#include <random>

namespace ravo::JsonExactNumber {

namespace {

// A marker nobody can put into a document from outside: a control character and a nonce
// drawn once per process. (A fixed marker was found by fuzzing inside a user's string.)
const std::string& marker() {
    static const std::string text = [] {
        std::random_device random;
        std::string nonce;
        for (int i = 0; i < 4; ++i) {
            char part[9];
            std::snprintf(part, sizeof part, "%08x", random());
            nonce += part;
        }
        return "\x01"
               "exact-" +
               nonce + ":";
    }();
    return text;
}

// How the marker reads inside a dumped string, opening quote included.
const std::string& escapedMarker() {
    static const std::string text = "\"\\u0001" + marker().substr(1);
    return text;
}

// A quote that opens a string is not itself escaped: an even run of backslashes before it.
bool opensString(const std::string& text, std::size_t quote) {
    std::size_t backslashes = 0;
    while (quote > backslashes && text[quote - backslashes - 1] == '\\')
        ++backslashes;
    return backslashes % 2 == 0;
}

} // namespace

nlohmann::json value(std::string_view decimalText) {
    return marker() + std::string(decimalText);
}

std::string dump(const nlohmann::json& document, int indent) {
    const std::string text =
        document.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
    const std::string& wanted = escapedMarker();
    std::string out;
    out.reserve(text.size());
    std::size_t position = 0;
    for (auto start = text.find(wanted); start != std::string::npos;
         start = text.find(wanted, start + 1)) {
        if (start < position || !opensString(text, start))
            continue;
        const auto digits = start + wanted.size();
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
