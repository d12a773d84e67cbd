#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ravo::usage {

// An exact decimal number such as a credit balance: digits times a power of ten.
class Decimal {
public:
    Decimal() = default;
    Decimal(std::int64_t digits, int scale);

    // Plain decimal text with a point ("12.50", "-3", ".5"); nothing for anything else.
    static std::optional<Decimal> parse(std::string_view text);
    // The shortest decimal text that reads back as `value`.
    static std::optional<Decimal> fromDouble(double value);

    std::string toString() const;
    double toDouble() const;
    // Whether toDouble() gives back exactly this number's decimal text when printed shortest.
    bool isExactAsDouble() const;
    // A whole number, as an integer.
    std::optional<std::int64_t> integer() const;

    bool operator==(const Decimal&) const = default;

private:
    void normalize();
    std::int64_t digits_ = 0;
    int scale_ = 0; // digits after the point
};

} // namespace ravo::usage
