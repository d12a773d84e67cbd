#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::server {

// The ETag of an account's site list at `version`.
std::string entityTagFor(std::int64_t version);

// The list versions an If-Match header names: nothing for "*", else the versions of the
// tags that are ours (weak tags never match a write); at most 16, from at most 1 KiB.
std::optional<std::vector<std::int64_t>> listVersionsIn(std::string_view ifMatch);

} // namespace ravo::server
