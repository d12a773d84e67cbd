#pragma once

#include <string>
#include <string_view>

namespace ravo::server {

// An account's address as it is kept and looked up: without surrounding blanks, in lower
// case, so that Ada@Example.org and ada@example.org are one account at every entry.
std::string normalizedEmail(std::string_view email);

// One "@" with something on both sides, no blanks or list punctuation, at most 254 bytes.
bool looksLikeEmail(std::string_view email);

} // namespace ravo::server
