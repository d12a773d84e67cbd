#pragma once

#include <optional>
#include <string>

namespace ravo::hook {

// Everything on standard input, or nothing when it is larger than `limit` bytes (the rest
// is drained so the agent's write never blocks).
std::optional<std::string> readStandardInput(std::size_t limit);

} // namespace ravo::hook
