#pragma once

#include "base/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::common {

// Where the freedesktop way looks for applications and their programs.
struct DesktopSearchPlaces {
    // In order of precedence: $XDG_DATA_HOME, then each of $XDG_DATA_DIRS, with
    // "applications" added.
    std::vector<std::filesystem::path> applicationFolders;
    // $PATH, for a TryExec that names a program.
    std::vector<std::filesystem::path> programFolders;

    bool operator==(const DesktopSearchPlaces&) const = default;

    static DesktopSearchPlaces fromEnvironment();
};

// An application whose desktop entry is installed and may be started.
struct InstalledApplication {
    std::filesystem::path entryFile;
    std::string name;
    std::vector<std::string> command;

    bool operator==(const InstalledApplication&) const = default;
};

// The entry with this file name (e.g. "org.gnome.SystemMonitor.desktop") in the first folder
// that has it: that copy is the one that counts, even when it cannot be used.
std::optional<std::filesystem::path> findDesktopEntryFile(const DesktopSearchPlaces& places,
                                                          std::string_view entryName);

// The application the entry starts, or why there is none: Hidden=true removes it, and so
// does a TryExec program that is not there.
Result<InstalledApplication> readInstalledApplication(const DesktopSearchPlaces& places,
                                                      const std::filesystem::path& entryFile);

} // namespace ravo::common
