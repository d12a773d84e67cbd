#pragma once

#include "base/result.h"

#include <filesystem>

namespace ravo::server {

// A consistent copy of a SQLite database that a running server may be writing: SQLite's
// online backup, read in one snapshot while writers go on. The copy is written beside
// `target` (mode 600) and renamed over it when whole, so `target` is never half a copy.
Status backupSqlite(const std::filesystem::path& source, const std::filesystem::path& target);

} // namespace ravo::server
