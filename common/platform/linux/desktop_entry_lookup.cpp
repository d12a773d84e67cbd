#include "common/platform/linux/desktop_entry_lookup.h"

#include "base/atomic_file.h"
#include "base/desktop_entry.h"
#include "base/paths.h"

#include <cstdlib>
#include <unistd.h>

namespace ravo::common {

namespace fs = std::filesystem;

namespace {

// Real entries are a few kilobytes; a larger file is not one.
constexpr std::size_t kMaxEntryBytes = 256 * 1024;

// The absolute folders of a colon-separated list; relative ones are skipped, as the
// freedesktop rules ask.
std::vector<fs::path> absoluteFolders(std::string_view list) {
    std::vector<fs::path> folders;
    while (!list.empty()) {
        const std::size_t colon = list.find(':');
        const std::string_view folder = list.substr(0, colon);
        if (folder.starts_with('/'))
            folders.emplace_back(folder);
        list = colon == std::string_view::npos ? std::string_view{} : list.substr(colon + 1);
    }
    return folders;
}

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string_view(value) : std::string_view{};
}

bool isExecutableFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

bool isProgramThere(const DesktopSearchPlaces& places, const std::string& program) {
    if (program.starts_with('/'))
        return isExecutableFile(program);
    for (const fs::path& folder : places.programFolders)
        if (isExecutableFile(folder / program))
            return true;
    return false;
}

} // namespace

DesktopSearchPlaces DesktopSearchPlaces::fromEnvironment() {
    DesktopSearchPlaces places;
    if (const auto dataHome = paths::dataHome())
        places.applicationFolders.push_back(*dataHome / "applications");
    std::vector<fs::path> dataDirs = absoluteFolders(variable("XDG_DATA_DIRS"));
    if (dataDirs.empty())
        dataDirs = {"/usr/local/share", "/usr/share"};
    for (const fs::path& folder : dataDirs)
        places.applicationFolders.push_back(folder / "applications");
    places.programFolders = absoluteFolders(variable("PATH"));
    return places;
}

std::optional<fs::path> findDesktopEntryFile(const DesktopSearchPlaces& places,
                                             std::string_view entryName) {
    for (const fs::path& folder : places.applicationFolders) {
        std::error_code error;
        if (fs::exists(folder / entryName, error))
            return folder / entryName;
    }
    return std::nullopt;
}

Result<InstalledApplication> readInstalledApplication(const DesktopSearchPlaces& places,
                                                      const fs::path& entryFile) {
    const std::string where = entryFile.string();
    std::error_code error;
    // Read only a plain file: a pipe would wait for a writer.
    if (!fs::is_regular_file(entryFile, error))
        return Failure{where + " is not a file"};
    const auto text = readFile(entryFile, kMaxEntryBytes);
    if (!text)
        return Failure{"Cannot read " + where};
    const auto entry = parseDesktopEntry(*text);
    if (!entry)
        return Failure{where + ": " + entry.error()};
    if (entry->hidden)
        return Failure{where + " is hidden"};
    if (entry->tryExec && !isProgramThere(places, *entry->tryExec))
        return Failure{where + ": " + *entry->tryExec + " is not installed"};
    if (!entry->exec)
        return Failure{where + " has no Exec"};
    auto command = splitExecLine(*entry->exec);
    if (!command)
        return Failure{where + ": " + command.error()};
    return InstalledApplication{entryFile, entry->name, std::move(command).value()};
}

} // namespace ravo::common
