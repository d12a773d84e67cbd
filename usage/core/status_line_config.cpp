#include "usage/core/status_line_config.h"

#include "base/json_file.h"
#include "base/paths.h"
#include "base/shell_quote.h"

namespace ravo::usage {

using nlohmann::json;

std::string StatusLineConfig::command(const std::filesystem::path& helperPath) {
    return shellQuoted(helperPath.string()) + " statusline";
}

bool StatusLineConfig::isRavo(const json& value) {
    if (!value.is_object())
        return false;
    const auto command = value.find("command");
    return command != value.end() && command->is_string() &&
           command->get_ref<const std::string&>().find("/ravo-hook' statusline") !=
               std::string::npos;
}

StatusLineConfig::Installed StatusLineConfig::installing(json settings,
                                                         const std::string& command) {
    std::optional<json> existing;
    if (const auto it = settings.find("statusLine"); it != settings.end() && it->is_object())
        existing = *it;
    Installed result;
    json entry = json::object();
    if (existing && !isRavo(*existing)) {
        entry = *existing; // the user's other keys (padding, say) stay
        result.previous = existing;
    }
    entry["type"] = "command";
    entry["command"] = command;
    settings["statusLine"] = std::move(entry);
    result.settings = std::move(settings);
    return result;
}

json StatusLineConfig::removing(json settings, const std::optional<json>& previous) {
    const auto it = settings.find("statusLine");
    if (it == settings.end() || !isRavo(*it))
        return settings; // the user has put something else there since
    if (previous)
        settings["statusLine"] = *previous;
    else
        settings.erase("statusLine");
    return settings;
}

std::optional<std::filesystem::path> StatusLineChain::filePath() {
    return paths::inSharedContainer("claude-statusline-previous.json");
}

std::optional<json> StatusLineChain::load() {
    return readJsonObject(filePath());
}

} // namespace ravo::usage
