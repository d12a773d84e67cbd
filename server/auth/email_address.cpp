#include "server/auth/email_address.h"

#include "base/trimmed.h"

#include <algorithm>
#include <cctype>

namespace ravo::server {

std::string normalizedEmail(std::string_view email) {
    std::string text = trimmed(email);
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : static_cast<char>(c);
    });
    // example.org. is example.org: the root's dot names the same domain.
    while (text.size() > 1 && text.back() == '.' && text.find('@') != std::string::npos)
        text.pop_back();
    return text;
}

bool looksLikeEmail(std::string_view email) {
    const auto at = email.find('@');
    return email.size() <= 254 && at != std::string_view::npos && at > 0 && at + 1 < email.size() &&
           email.find('@', at + 1) == std::string_view::npos &&
           std::none_of(email.begin(), email.end(), [](unsigned char c) {
               return c <= ' ' || c == '<' || c == '>' || c == ',' || c == ';' || c == 127;
           });
}

} // namespace ravo::server
