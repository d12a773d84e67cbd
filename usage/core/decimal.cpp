#include "usage/core/decimal.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace ravo::usage {

Decimal::Decimal(std::int64_t digits, int scale) : digits_(digits), scale_(scale) {
    normalize();
}

void Decimal::normalize() {
    while (scale_ > 0 && digits_ % 10 == 0) {
        digits_ /= 10;
        --scale_;
    }
    if (digits_ == 0)
        scale_ = 0;
}

std::optional<Decimal> Decimal::parse(std::string_view text) {
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty())
        return std::nullopt;
    std::int64_t digits = 0;
    int scale = 0;
    bool seenPoint = false, seenDigit = false;
    for (char c : text) {
        if (c == '.' && !seenPoint) {
            seenPoint = true;
            continue;
        }
        if (c < '0' || c > '9')
            return std::nullopt;
        if (digits > (INT64_MAX - 9) / 10)
            return std::nullopt; // more digits than we can keep exactly
        digits = digits * 10 + (c - '0');
        seenDigit = true;
        if (seenPoint)
            ++scale;
    }
    if (!seenDigit)
        return std::nullopt;
    return Decimal(negative ? -digits : digits, scale);
}

std::optional<Decimal> Decimal::fromDouble(double value) {
    if (!std::isfinite(value))
        return std::nullopt;
    char buffer[64];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    if (error != std::errc{})
        return std::nullopt;
    return parse(std::string_view(buffer, static_cast<std::size_t>(end - buffer)));
}

std::string Decimal::toString() const {
    const bool negative = digits_ < 0;
    const std::string digits = std::to_string(negative ? -digits_ : digits_);
    const auto scale = static_cast<std::size_t>(scale_);
    std::string text = negative ? "-" : "";
    if (scale == 0)
        return text + digits;
    // At least one digit before the point: 5 with scale 2 is 0.05.
    const std::string padded =
        digits.size() > scale ? digits : std::string(scale + 1 - digits.size(), '0') + digits;
    text.append(padded, 0, padded.size() - scale);
    text += '.';
    text.append(padded, padded.size() - scale, scale);
    return text;
}

double Decimal::toDouble() const {
    double value = 0;
    const std::string text = toString();
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace ravo::usage

namespace ravo::usage {

bool Decimal::isExactAsDouble() const {
    // A double keeps 15 significant decimal digits.
    std::int64_t magnitude = digits_ < 0 ? -digits_ : digits_;
    return magnitude < 1'000'000'000'000'000;
}

std::optional<std::int64_t> Decimal::integer() const {
    if (scale_ != 0)
        return std::nullopt;
    return digits_;
}

} // namespace ravo::usage
