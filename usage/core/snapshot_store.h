#pragma once

#include "base/result.h"
#include "usage/core/usage_model.h"

#include <filesystem>
#include <optional>

// "snapshot.json" in the shared container: the last picture of every provider's limits.
namespace ravo::usage::SnapshotStore {

std::optional<std::filesystem::path> filePath();
// Nothing when the container is missing, the file absent (first run) or unreadable.
std::optional<UsageSnapshot> load();
Status save(const UsageSnapshot& snapshot);

} // namespace ravo::usage::SnapshotStore
