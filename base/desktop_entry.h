#pragma once

#include "base/result.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravo {

// The keys Ravo reads from a freedesktop ".desktop" file's [Desktop Entry] group, with the
// string escapes (\s \n \t \r \\) undone. Localized keys such as Name[de] are not read.
struct DesktopEntry {
    std::string name;
    std::optional<std::string> exec;
    std::optional<std::string> tryExec;
    bool hidden = false;

    bool operator==(const DesktopEntry&) const = default;
};

// Fails only when the text has no [Desktop Entry] group; lines that are neither a group, a
// comment nor key=value are passed over, as other readers of these files do.
Result<DesktopEntry> parseDesktopEntry(std::string_view text);

// An Exec value as the program and its arguments, split on the entry's own quoting. The
// field codes for files, URLs, the icon, the name and the entry's path are dropped, since
// Ravo starts the program with none of them; "%%" is a lone "%".
Result<std::vector<std::string>> splitExecLine(std::string_view exec);

} // namespace ravo
