#include "sessions/core/claude_desktop_sessions.h"

#include "base/json_file.h"
#include "base/paths.h"

#include <nlohmann/json.hpp>

namespace ravo::sessions::ClaudeDesktopSessions {

namespace fs = std::filesystem;

std::optional<fs::path> root() {
#if defined(__APPLE__)
    if (const auto home = paths::home())
        return *home / "Library" / "Application Support" / "Claude" / "claude-code-sessions";
    return std::nullopt;
#else
    if (const auto config = paths::configHome())
        return *config / "Claude" / "claude-code-sessions";
    return std::nullopt;
#endif
}

bool isValidDesktopID(std::string_view id) {
    constexpr std::string_view prefix = "local_";
    if (!id.starts_with(prefix) || id.size() < 7 || id.size() > 70)
        return false;
    for (char c : id.substr(prefix.size())) {
        const auto u = static_cast<unsigned char>(c);
        if (!((u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') ||
              u == '-'))
            return false;
    }
    return true;
}

std::optional<std::string> desktopID(const std::string& cliSessionID, const fs::path& rootFolder) {
    std::error_code error;
    fs::recursive_directory_iterator it(rootFolder, fs::directory_options::skip_permission_denied,
                                        error);
    for (fs::recursive_directory_iterator end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        if (name.starts_with(".")) {
            if (it->is_directory(error))
                it.disable_recursion_pending();
            continue;
        }
        if (!name.starts_with("local_") || it->path().extension() != ".json")
            continue;
        const auto file = readJsonObject(it->path(), 4 * 1024 * 1024);
        if (!file)
            continue;
        const nlohmann::json& metadata = *file;
        const auto cli = metadata.find("cliSessionId");
        const auto desktop = metadata.find("sessionId");
        if (cli == metadata.end() || desktop == metadata.end() || !cli->is_string() ||
            !desktop->is_string())
            continue;
        if (cli->get<std::string>() == cliSessionID &&
            isValidDesktopID(desktop->get<std::string>()))
            return desktop->get<std::string>();
    }
    return std::nullopt;
}

} // namespace ravo::sessions::ClaudeDesktopSessions
