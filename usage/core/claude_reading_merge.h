#pragma once

#include "usage/core/usage_model.h"

#include <optional>

namespace ravo::usage::ClaudeReadingMerge {

// The /usage reading (official) with every status-line window (live) it lacks appended.
// A window both have keeps the official place and takes the fresher values.
ProviderReading merge(const std::optional<ProviderReading>& official, const ProviderReading& live);

} // namespace ravo::usage::ClaudeReadingMerge
