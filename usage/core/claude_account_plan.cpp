#include "usage/core/claude_account_plan.h"

#include "base/json_file.h"
#include "usage/core/usage_model.h"

#include <nlohmann/json.hpp>

namespace ravo::usage {

namespace {
std::optional<std::string> stringAt(const nlohmann::json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_string() || it->get_ref<const std::string&>().empty())
        return std::nullopt;
    return it->get<std::string>();
}
} // namespace

std::optional<ClaudeAccountPlan> ClaudeAccountPlan::fromAccountFile(const nlohmann::json& file) {
    if (!file.is_object())
        return std::nullopt;
    const auto account = file.find("oauthAccount");
    if (account == file.end() || !account->is_object())
        return std::nullopt;
    ClaudeAccountPlan plan{stringAt(*account, "organizationType"),
                           stringAt(*account, "organizationRateLimitTier"),
                           stringAt(*account, "userRateLimitTier")};
    if (!plan.organizationType && !plan.organizationRateLimitTier && !plan.userRateLimitTier)
        return std::nullopt;
    return plan;
}

std::optional<ClaudeAccountPlan> ClaudeAccountPlan::load(const std::filesystem::path& home) {
    const auto file = readJsonObject(home / ".claude.json", 8 * 1024 * 1024);
    return file ? fromAccountFile(*file) : std::nullopt;
}

std::optional<std::string> ClaudeAccountPlan::plan() const {
    if (organizationType) {
        std::string type = *organizationType;
        if (type.starts_with("claude_"))
            type.erase(0, 7);
        return type;
    }
    const auto& tier = userRateLimitTier ? userRateLimitTier : organizationRateLimitTier;
    if (!tier)
        return std::nullopt;
    // default_claude_max_20x -> max
    for (auto at = tier->find("claude_"); at != std::string::npos;
         at = tier->find("claude_", at + 1)) {
        std::size_t end = at + 7;
        while (end < tier->size() && (*tier)[end] >= 'a' && (*tier)[end] <= 'z')
            ++end;
        if (end > at + 7)
            return tier->substr(at + 7, end - at - 7);
    }
    return std::nullopt;
}

std::optional<std::int64_t> ClaudeAccountPlan::multiplier() const {
    if (auto fromUser = PlanName::multiplier(userRateLimitTier))
        return fromUser;
    return PlanName::multiplier(organizationRateLimitTier);
}

} // namespace ravo::usage
