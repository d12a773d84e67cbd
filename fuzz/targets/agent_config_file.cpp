// A user's ~/.claude/settings.json or ~/.codex/hooks.json, read, edited and written back.
#include "base/json_config_file.h"
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "sessions/core/hook_config.h"
#include "usage/core/status_line_config.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto config = JsonConfigFile::parse(text, "settings.json");
    if (!config)
        return 0;
    FUZZ_CHECK(config->is_object());
    const std::vector<std::string> events{"UserPromptSubmit", "PostToolUse", "Stop"};
    const auto installed = sessions::HookConfig::installing(
        *config, "'/opt/ravo/ravo-hook' claude", events, std::string("Ravo session tracking"));
    FUZZ_CHECK(sessions::HookConfig::isInstalled(installed));
    const auto withStatusLine =
        usage::StatusLineConfig::installing(installed, "'/opt/ravo/ravo-hook' statusline");
    const auto removed = sessions::HookConfig::removing(
        usage::StatusLineConfig::removing(withStatusLine.settings, withStatusLine.previous));
    FUZZ_CHECK(!sessions::HookConfig::isInstalled(removed));
    // What Ravo writes must read back as the same document.
    const std::string written = withStatusLine.settings.dump(2) + "\n";
    const auto reread = JsonConfigFile::parse(written, "settings.json");
    FUZZ_CHECK(reread && *reread == withStatusLine.settings);
    return 0;
}
