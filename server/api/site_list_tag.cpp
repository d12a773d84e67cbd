#include "server/api/site_list_tag.h"

#include <charconv>

namespace ravo::server {

std::string entityTagFor(std::int64_t version) {
    return "\"sites-" + std::to_string(version) + "\"";
}

std::optional<std::vector<std::int64_t>> listVersionsIn(std::string_view text) {
    std::vector<std::int64_t> versions;
    if (text.size() > 1024)
        return versions;
    for (std::size_t start = 0; start <= text.size();) {
        const auto end = std::min(text.find(',', start), text.size());
        std::string_view tag = text.substr(start, end - start);
        start = end + 1;
        while (!tag.empty() && (tag.front() == ' ' || tag.front() == '\t'))
            tag.remove_prefix(1);
        while (!tag.empty() && (tag.back() == ' ' || tag.back() == '\t'))
            tag.remove_suffix(1);
        if (tag == "*")
            return std::nullopt;
        constexpr std::string_view prefix = "\"sites-";
        if (!tag.starts_with(prefix) || !tag.ends_with('"') || versions.size() >= 16)
            continue;
        const std::string_view digits = tag.substr(prefix.size(), tag.size() - prefix.size() - 1);
        std::int64_t version = 0;
        const auto [rest, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), version);
        if (digits.empty() || digits.size() > 18 ||
            digits.find_first_not_of("0123456789") != std::string_view::npos ||
            error != std::errc() || rest != digits.data() + digits.size())
            continue;
        versions.push_back(version);
    }
    return versions;
}

} // namespace ravo::server
