#include "sessions/core/hook_installer.h"

#include "base/agent_detection.h"
#include "base/atomic_file.h"
#include "base/json_config_file.h"
#include "base/log.h"
#include "base/shell_quote.h"
#include "sessions/core/hook_config.h"
#include "usage/core/status_line_config.h"

namespace ravo::sessions {

namespace fs = std::filesystem;
using nlohmann::json;
namespace StatusLineChain = usage::StatusLineChain;
namespace StatusLineConfig = usage::StatusLineConfig;

namespace {

constexpr auto kClaudeSettingsMode = fs::perms(0644);

Status saveChain(const std::optional<json>& previous) {
    const auto path = StatusLineChain::filePath();
    if (!path)
        return Failure{"Ravo's shared folder is unavailable."};
    std::error_code error;
    if (!previous) {
        fs::remove(*path, error);
        return success();
    }
    fs::create_directories(path->parent_path(), error);
    return writeFileAtomically(*path, previous->dump(2) + "\n", fs::perms(0600));
}

} // namespace

HookInstaller::HookInstaller(fs::path home, fs::path helperPath)
    : home_(std::move(home)), helperPath_(std::move(helperPath)) {}

fs::path HookInstaller::claudeSettingsPath() const {
    return home_ / ".claude" / "settings.json";
}

Result<HookInstaller::StatusLineChange> HookInstaller::installStatusLine() const {
    auto settings = JsonConfigFile::read(claudeSettingsPath());
    if (!settings)
        return settings.failure();
    const bool wasOurs = StatusLineConfig::isRavo(settings->value("statusLine", json()));
    auto installed = StatusLineConfig::installing(std::move(settings).value(),
                                                  StatusLineConfig::command(helperPath_));
    // The user's own status line is saved first: if that fails, their settings stay as they are.
    if (installed.previous)
        if (auto saved = saveChain(installed.previous); !saved)
            return saved.failure();
    if (auto written =
            JsonConfigFile::write(installed.settings, claudeSettingsPath(), kClaudeSettingsMode);
        !written)
        return written.failure();
    log::info("hooks", "Claude status line installed");
    if (installed.previous)
        return StatusLineChange::installedChaining;
    return wasOurs ? StatusLineChange::refreshed : StatusLineChange::installed;
}

Result<HookInstaller::StatusLineChange> HookInstaller::uninstallStatusLine() const {
    std::error_code error;
    if (!fs::exists(claudeSettingsPath(), error)) {
        saveChain(std::nullopt);
        return StatusLineChange::leftUsersOwn;
    }
    // A settings file that does not parse keeps the saved status line too: nothing is lost.
    auto settings = JsonConfigFile::read(claudeSettingsPath());
    if (!settings)
        return settings.failure();
    const auto previous = StatusLineChain::load();
    saveChain(std::nullopt);
    if (!StatusLineConfig::isRavo(settings->value("statusLine", json())))
        return StatusLineChange::leftUsersOwn;
    const json removed = StatusLineConfig::removing(std::move(settings).value(), previous);
    if (auto written = JsonConfigFile::write(removed, claudeSettingsPath(), kClaudeSettingsMode);
        !written)
        return written.failure();
    log::info("hooks", "Claude status line removed");
    return previous ? StatusLineChange::restored : StatusLineChange::removed;
}

bool HookInstaller::isStatusLineCurrent() const {
    const auto settings = JsonConfigFile::read(claudeSettingsPath());
    if (!settings)
        return false;
    const auto entry = settings->find("statusLine");
    if (entry == settings->end() || !entry->is_object())
        return false;
    const auto command = entry->find("command");
    return command != entry->end() && command->is_string() &&
           command->get<std::string>() == StatusLineConfig::command(helperPath_);
}

std::vector<HookInstaller::Target> HookInstaller::targets() const {
    return {
        Target{usage::Provider::claude,
               claudeSettingsPath(),
               fs::perms(0644),
               {"UserPromptSubmit", "PostToolUse", "Notification", "Stop", "SessionEnd"},
               std::nullopt},
        Target{usage::Provider::codex,
               home_ / ".codex" / "hooks.json",
               fs::perms(0600),
               {"UserPromptSubmit", "PostToolUse", "PermissionRequest", "Stop", "SessionEnd"},
               "Ravo session tracking"},
    };
}

std::vector<HookInstaller::Target> HookInstaller::presentTargets() const {
    std::vector<Target> present;
    for (auto& target : targets()) {
        const bool installed = target.provider == usage::Provider::claude
                                   ? AgentDetection::isClaudeInstalled(home_)
                                   : AgentDetection::isCodexInstalled(home_);
        if (installed)
            present.push_back(std::move(target));
    }
    return present;
}

std::string HookInstaller::command(usage::Provider provider) const {
    return shellQuoted(helperPath_.string()) + " " + std::string(usage::rawValue(provider));
}

json HookInstaller::installing(json config, const Target& target) const {
    return HookConfig::installing(std::move(config), command(target.provider), target.events,
                                  target.statusMessage);
}

namespace {
std::string providerList(const std::vector<usage::Provider>& providers) {
    std::string list;
    for (auto provider : providers)
        list += (list.empty() ? "" : ", ") + std::string(usage::rawValue(provider));
    return list;
}
} // namespace

Result<std::vector<usage::Provider>> HookInstaller::install() const {
    std::vector<usage::Provider> handled;
    for (const auto& target : presentTargets()) {
        auto config = JsonConfigFile::read(target.path);
        if (!config)
            return config.failure();
        if (auto written = JsonConfigFile::write(installing(std::move(config).value(), target),
                                                 target.path, target.newFileMode);
            !written)
            return written.failure();
        handled.push_back(target.provider);
    }
    log::info("hooks", "Hooks installed for " + providerList(handled));
    return handled;
}

Status HookInstaller::uninstall() const {
    for (const auto& target : targets()) {
        std::error_code error;
        if (!fs::exists(target.path, error))
            continue;
        auto config = JsonConfigFile::read(target.path);
        if (!config)
            return config.failure();
        if (!HookConfig::isInstalled(*config))
            continue;
        if (auto written = JsonConfigFile::write(HookConfig::removing(std::move(config).value()),
                                                 target.path, target.newFileMode);
            !written)
            return written;
    }
    log::info("hooks", "Hooks removed");
    return success();
}

std::set<usage::Provider> HookInstaller::installedProviders() const {
    std::set<usage::Provider> installed;
    for (const auto& target : targets()) {
        const auto config = JsonConfigFile::read(target.path);
        if (config && HookConfig::isInstalled(*config))
            installed.insert(target.provider);
    }
    return installed;
}

bool HookInstaller::isInstalled() const {
    return !installedProviders().empty();
}

Result<std::vector<usage::Provider>> HookInstaller::reconcile() const {
    std::vector<usage::Provider> rewritten;
    for (const auto& target : presentTargets()) {
        auto config = JsonConfigFile::read(target.path);
        if (!config)
            return config.failure();
        json wanted = installing(config.value(), target);
        if (wanted == config.value())
            continue;
        if (auto written = JsonConfigFile::write(wanted, target.path, target.newFileMode); !written)
            return written.failure();
        rewritten.push_back(target.provider);
    }
    return rewritten;
}

} // namespace ravo::sessions
