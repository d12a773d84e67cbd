#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

// nlohmann/json holds numbers as binary doubles or 64-bit integers, so a decimal amount with
// more digits than a double keeps would be rounded on the way to text. Such a number goes
// into the document as a marked string and comes out of dumpJson as the bare number it is.
namespace ravo::JsonExactNumber {

// `decimalText` must be a plain decimal number ("-12.345"); the caller checks that.
nlohmann::json value(std::string_view decimalText);

// json::dump, with every marked number written as its own text.
std::string dump(const nlohmann::json& document, int indent = -1);

} // namespace ravo::JsonExactNumber
