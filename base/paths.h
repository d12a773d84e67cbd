#pragma once

#include <filesystem>
#include <optional>

// Every location derives from HOME and the XDG variables, so a test moves all state by
// pointing HOME at a temporary folder.
namespace ravo::paths {

std::optional<std::filesystem::path> home();
std::optional<std::filesystem::path> dataHome();
std::optional<std::filesystem::path> configHome();
std::optional<std::filesystem::path> stateHome();
// Where the program logs when the terminal is in use, as while the dashboard runs.
std::optional<std::filesystem::path> logFile();

// The folder shared by the app and ravo-hook; absent when no home folder can be found.
std::optional<std::filesystem::path> sharedContainer();
// A file or folder directly inside the shared container.
std::optional<std::filesystem::path> inSharedContainer(const char* name);

} // namespace ravo::paths
