#pragma once

#include "base/result.h"

#include <cstddef>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string_view>

namespace ravo {

// Limits for JSON that comes from outside: a user's file, an agent's output, a payload.
struct JsonLimits {
    // Deeper documents are refused before they can grow on a rewrite or blow the stack.
    std::size_t maxDepth = 128;
    // Floats under these keys are kept as their decimal text (a string) when a double
    // would round them, so an exact amount survives a read.
    std::initializer_list<std::string_view> exactDecimalKeys = {};
};

// Parses `text` without throwing: a syntax error, a number outside the double range or a
// document nested deeper than the limit comes back as a failure that says where and why.
Result<nlohmann::json> parseJson(std::string_view text, const JsonLimits& limits = {});

// The same, for callers that only ask whether they got something: a discarded value
// (`is_discarded()`) on failure.
nlohmann::json parseJsonOrDiscarded(std::string_view text, const JsonLimits& limits = {});

} // namespace ravo
