#pragma once

#include <string>
#include <string_view>

namespace ravo {

// `text` without the white space and line breaks around it.
inline std::string_view trimmedView(std::string_view text) {
    constexpr std::string_view space = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

inline std::string trimmed(std::string_view text) {
    return std::string(trimmedView(text));
}

} // namespace ravo
