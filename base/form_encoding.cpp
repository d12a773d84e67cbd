#include "base/form_encoding.h"

#include <cctype>
#include <charconv>

namespace ravo {

std::string formEncode(std::string_view text) {
    static const char* hex = "0123456789ABCDEF";
    std::string encoded;
    for (const unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~')
            encoded += static_cast<char>(c);
        else
            encoded += std::string{'%', hex[c >> 4], hex[c & 15]};
    }
    return encoded;
}

std::map<std::string, std::string> parseForm(std::string_view body) {
    const auto decode = [](std::string_view text) {
        std::string decoded;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '+') {
                decoded += ' ';
            } else if (unsigned byte = 0;
                       text[i] == '%' && i + 2 < text.size() &&
                       std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16).ptr ==
                           text.data() + i + 3) {
                decoded += static_cast<char>(byte);
                i += 2;
            } else {
                decoded += text[i];
            }
        }
        return decoded;
    };
    std::map<std::string, std::string> fields;
    while (!body.empty()) {
        const auto end = body.find('&');
        const std::string_view pair = body.substr(0, end);
        const auto equals = pair.find('=');
        const std::string name = decode(pair.substr(0, equals));
        if (!name.empty() && !fields.contains(name))
            fields[name] =
                equals == std::string_view::npos ? std::string() : decode(pair.substr(equals + 1));
        if (end == std::string_view::npos)
            break;
        body.remove_prefix(end + 1);
    }
    return fields;
}

} // namespace ravo
