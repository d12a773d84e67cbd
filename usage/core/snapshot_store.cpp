#include "usage/core/snapshot_store.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/paths.h"
#include "usage/core/snapshot_json.h"

#include <cerrno>
#include <cstring>

namespace ravo::usage::SnapshotStore {

namespace fs = std::filesystem;

std::optional<fs::path> filePath() {
    return paths::inSharedContainer("snapshot.json");
}

std::optional<UsageSnapshot> load() {
    const auto path = filePath();
    if (!path) {
        log::error("snapshot", "App Group container ravo is unavailable");
        return std::nullopt;
    }
    std::error_code ignored;
    if (!fs::exists(*path, ignored))
        return std::nullopt;
    const auto text = readFile(*path);
    if (!text) {
        log::error("snapshot", "Snapshot load failed: " + path->string() + " is unreadable");
        return std::nullopt;
    }
    auto snapshot = decodeSnapshot(*text);
    if (!snapshot) {
        log::error("snapshot", "Snapshot load failed: " + snapshot.error());
        return std::nullopt;
    }
    return std::move(snapshot).value();
}

Status save(const UsageSnapshot& snapshot) {
    const auto path = filePath();
    if (!path)
        return Failure{"The file doesn't exist."};
    std::error_code error;
    fs::create_directories(path->parent_path(), error);
    if (error)
        return Failure{"Cannot create " + path->parent_path().string() + ": " + error.message()};
    return writeFileAtomically(*path, encodeSnapshot(snapshot, DateStyle::referenceSeconds));
}

} // namespace ravo::usage::SnapshotStore
