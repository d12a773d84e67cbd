#pragma once

#include <string>
#include <string_view>

namespace ravo {

// `text` in single quotes for /bin/sh, each ' written as '\''.
inline std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    quoted += "'";
    return quoted;
}

} // namespace ravo
