#include "base/paths.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace ravo::paths {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> absoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || value[0] != '/')
        return std::nullopt;
    return fs::path(value);
}

} // namespace

std::optional<fs::path> home() {
    if (auto fromEnvironment = absoluteVariable("HOME"))
        return fromEnvironment;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir && entry->pw_dir[0])
        return fs::path(entry->pw_dir);
    return std::nullopt;
}

namespace {

std::optional<fs::path> xdgHome(const char* variable, const char* underHome) {
    if (auto xdg = absoluteVariable(variable))
        return xdg;
    if (auto h = home())
        return *h / underHome;
    return std::nullopt;
}

} // namespace

std::optional<fs::path> dataHome() {
    return xdgHome("XDG_DATA_HOME", ".local/share");
}

std::optional<fs::path> configHome() {
    return xdgHome("XDG_CONFIG_HOME", ".config");
}

std::optional<fs::path> stateHome() {
    return xdgHome("XDG_STATE_HOME", ".local/state");
}

std::optional<fs::path> logFile() {
    if (auto state = stateHome())
        return *state / "ravo" / "ravo.log";
    return std::nullopt;
}

std::optional<fs::path> sharedContainer() {
    if (auto data = dataHome())
        return *data / "ravo";
    return std::nullopt;
}

std::optional<fs::path> inSharedContainer(const char* name) {
    if (auto container = sharedContainer())
        return *container / name;
    return std::nullopt;
}

} // namespace ravo::paths
