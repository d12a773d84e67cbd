#include "base/agent_detection.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace ravo::AgentDetection {

namespace fs = std::filesystem;

std::vector<fs::path> searchFolders(const fs::path& home) {
    std::vector<fs::path> folders{home / ".local" / "bin",
                                  home / ".npm-global" / "bin",
                                  home / ".bun" / "bin",
                                  home / ".claude" / "local",
                                  "/opt/homebrew/bin",
                                  "/usr/local/bin",
                                  "/usr/bin",
                                  "/bin",
                                  "/usr/sbin",
                                  "/sbin"};
    // Then the PATH the app was started with (nvm and custom npm prefixes live there).
    if (const char* path = std::getenv("PATH")) {
        std::string_view rest(path);
        while (!rest.empty()) {
            const auto colon = rest.find(':');
            const auto entry = rest.substr(0, colon);
            if (!entry.empty() && entry.front() == '/')
                folders.emplace_back(entry);
            if (colon == std::string_view::npos)
                break;
            rest.remove_prefix(colon + 1);
        }
    }
    return folders;
}

std::string searchPath(const fs::path& home) {
    return home.string() +
           "/.local/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin";
}

std::optional<fs::path> findExecutable(const std::string& name, const fs::path& home) {
    for (const auto& folder : searchFolders(home)) {
        const fs::path candidate = folder / name;
        std::error_code error;
        if (fs::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return std::nullopt;
}

std::optional<fs::path> claudeExecutable(const fs::path& home) {
    return findExecutable("claude", home);
}

std::optional<fs::path> codexExecutable(const fs::path& home) {
    if (auto found = findExecutable("codex", home))
        return found;
    for (const fs::path& app :
         {fs::path("/Applications/Codex.app"), home / "Applications/Codex.app"}) {
        const fs::path bundled = app / "Contents" / "Resources" / "codex";
        if (::access(bundled.c_str(), X_OK) == 0)
            return bundled;
    }
    return std::nullopt;
}

bool isClaudeInstalled(const fs::path& home) {
    std::error_code error;
    return claudeExecutable(home) || fs::is_directory(home / ".claude", error);
}

bool isCodexInstalled(const fs::path& home) {
    std::error_code error;
    return codexExecutable(home) || fs::is_directory(home / ".codex", error);
}

} // namespace ravo::AgentDetection
