#include "sessions/core/hook_config.h"

namespace ravo::sessions {

using nlohmann::json;

namespace {
bool commandIsOurs(const std::string& command) {
    for (const char* helper : {"/ravo-hook'", "/quotix-hook'"})
        if (command.find(helper) != std::string::npos)
            return true;
    return false;
}
} // namespace

bool HookConfig::isOurs(const json& handler) {
    if (!handler.is_object())
        return false;
    const auto command = handler.find("command");
    return command != handler.end() && command->is_string() &&
           commandIsOurs(command->get_ref<const std::string&>());
}

bool HookConfig::isInstalled(const json& config) {
    const auto hooks = config.find("hooks");
    if (hooks == config.end() || !hooks->is_object())
        return false;
    for (const auto& [event, groups] : hooks->items()) {
        if (!groups.is_array())
            continue;
        for (const auto& group : groups) {
            if (!group.is_object() || !group.contains("hooks") || !group["hooks"].is_array())
                continue;
            for (const auto& handler : group["hooks"])
                if (isOurs(handler))
                    return true;
        }
    }
    return false;
}

json HookConfig::removing(json config) {
    const auto hooks = config.find("hooks");
    if (hooks == config.end() || !hooks->is_object())
        return config;
    json kept = json::object();
    for (auto& [event, groups] : hooks->items()) {
        if (!groups.is_array()) {
            kept[event] = groups;
            continue;
        }
        json keptGroups = json::array();
        for (auto& group : groups) {
            const bool hasHandlers =
                group.is_object() && group.contains("hooks") && group["hooks"].is_array();
            if (!hasHandlers) {
                keptGroups.push_back(group);
                continue;
            }
            json handlers = json::array();
            bool removedAny = false;
            for (auto& handler : group["hooks"]) {
                if (isOurs(handler))
                    removedAny = true;
                else
                    handlers.push_back(handler);
            }
            if (handlers.empty() && removedAny)
                continue; // a group that held only ours goes
            group["hooks"] = std::move(handlers);
            keptGroups.push_back(group);
        }
        // An event is dropped only when Ravo's groups were all it had.
        if (!keptGroups.empty() || groups.empty())
            kept[event] = std::move(keptGroups);
    }
    if (kept.empty() && !hooks->empty())
        config.erase("hooks");
    else
        config["hooks"] = std::move(kept);
    return config;
}

json HookConfig::installing(json config, const std::string& command,
                            const std::vector<std::string>& events,
                            const std::optional<std::string>& statusMessage) {
    config = removing(std::move(config));
    json hooks =
        config.contains("hooks") && config["hooks"].is_object() ? config["hooks"] : json::object();
    for (const auto& event : events) {
        json handler = {
            {"type", "command"}, {"command", command}, {"timeout", event == "SessionEnd" ? 2 : 5}};
        if (statusMessage)
            handler["statusMessage"] = *statusMessage;
        json groups =
            hooks.contains(event) && hooks[event].is_array() ? hooks[event] : json::array();
        groups.push_back(json{{"hooks", json::array({handler})}});
        hooks[event] = std::move(groups);
    }
    config["hooks"] = std::move(hooks);
    return config;
}

std::optional<int> CodexHookTrust::untrustedHelperHooks(const json& response) {
    if (!response.is_object())
        return std::nullopt;
    const auto result = response.find("result");
    if (result == response.end() || !result->is_object())
        return std::nullopt;
    const auto data = result->find("data");
    if (data == result->end() || !data->is_array())
        return std::nullopt;
    int count = 0;
    for (const auto& entry : *data) {
        if (!entry.is_object() || !entry.contains("hooks") || !entry["hooks"].is_array())
            continue;
        for (const auto& hook : entry["hooks"]) {
            if (!HookConfig::isOurs(hook))
                continue;
            const auto trust = hook.find("trustStatus");
            const std::string status =
                trust != hook.end() && trust->is_string() ? trust->get<std::string>() : "";
            if (status != "trusted" && status != "managed")
                ++count;
        }
    }
    return count;
}

} // namespace ravo::sessions
