#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// nlohmann/json holds numbers as binary doubles or 64-bit integers, so a decimal amount with
// more digits than a double keeps would be rounded on the way to text. Such numbers are
// handed to dump() beside the document, by where they go, and written as their own text.
namespace ravo::JsonExactNumber {

struct Exact {
    nlohmann::json::json_pointer at;
    std::string decimal; // a plain decimal number ("-12.345"); the caller checks that
};

// json::dump with each of `numbers` written at its place as the bare number it is.
// Broken UTF-8 in strings is replaced, never thrown.
std::string dump(nlohmann::json document, const std::vector<Exact>& numbers, int indent = -1);

} // namespace ravo::JsonExactNumber
