#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Small tokenising helpers for the text files of /proc and /sys.
namespace ravo::kernel_text {

inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

inline std::string_view trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

template <typename Visit> void forEachLine(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        visit(text.substr(0, end));
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
}

// The whole of `text` (blanks aside) as one integer, or nothing.
template <typename Integer>
std::optional<Integer> parseInteger(std::string_view text, int base = 10) {
    text = trim(text);
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

inline std::optional<std::uint64_t> parseUnsigned(std::string_view text) {
    return parseInteger<std::uint64_t>(text);
}

inline std::optional<std::int64_t> parseSigned(std::string_view text) {
    return parseInteger<std::int64_t>(text);
}

inline std::optional<std::uint64_t> parseHex(std::string_view text) {
    text = trim(text);
    if (text.starts_with("0x") || text.starts_with("0X"))
        text.remove_prefix(2);
    return parseInteger<std::uint64_t>(text, 16);
}

// Locale-independent: the kernel always writes a decimal point.
inline std::optional<double> parseDouble(std::string_view text) {
    text = trim(text);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

// Whitespace-separated fields of one line.
class Fields {
public:
    explicit Fields(std::string_view line) : rest_(line) {}

    std::string_view next() {
        while (!rest_.empty() && isBlank(rest_.front()))
            rest_.remove_prefix(1);
        std::size_t n = 0;
        while (n < rest_.size() && !isBlank(rest_[n]))
            ++n;
        const auto field = rest_.substr(0, n);
        rest_.remove_prefix(n);
        return field;
    }

    std::optional<std::uint64_t> nextNumber() {
        const auto field = next();
        if (field.empty())
            return std::nullopt;
        return parseUnsigned(field);
    }

private:
    std::string_view rest_;
};

} // namespace ravo::kernel_text
