#include "usage/core/codex_rate_limits.h"

#include "base/json_parse.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

namespace ravo::usage {

using nlohmann::json;

CodexPlan::Mapped CodexPlan::map(const std::optional<std::string>& planType) {
    if (!planType)
        return {};
    std::string lower = *planType;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "pro")
        return {"pro", 20};
    if (lower == "prolite" || lower == "pro_lite")
        return {"pro", 5};
    return {*planType, PlanName::multiplier(planType)};
}

namespace {

UsageError failure(const char* text) {
    return UsageError{text, std::nullopt, std::nullopt};
}

const json* objectAt(const json& parent, const char* key) {
    const auto it = parent.find(key);
    return it != parent.end() && it->is_object() ? &*it : nullptr;
}

UsageWindow window(const json& value) {
    UsageWindow w;
    const auto duration = value.find("windowDurationMins");
    if (duration != value.end() && duration->is_number_integer())
        w.minutes = duration->get<std::int64_t>();
    w.id = "codex-" + std::to_string(w.minutes.value_or(0));
    w.usedPercent = value.at("usedPercent").get<double>();
    if (const auto resets = value.find("resetsAt"); resets != value.end() && resets->is_number())
        w.resetsAt = fromUnixSeconds(resets->get<double>());
    return w;
}

std::optional<Credits> credits(const json& payload) {
    const bool unlimited = payload.value("unlimited", false);
    if (!payload.value("hasCredits", false) && !unlimited)
        return std::nullopt;
    std::optional<Decimal> balance;
    if (const auto it = payload.find("balance"); it != payload.end() && it->is_string())
        balance = Decimal::parse(it->get_ref<const std::string&>()); // always a point
    if (!balance && !unlimited)
        return std::nullopt;
    return Credits{balance.value_or(Decimal{}), unlimited};
}

} // namespace

std::variant<ProviderReading, UsageError> CodexRateLimitsParser::reading(std::string_view line) {
    const json response = parseJsonOrDiscarded(line);
    if (response.is_discarded() || !response.is_object())
        return failure("Unreadable Codex response");
    try {
        if (response.contains("error") || !response.contains("result"))
            return failure(kRejected);
        const json* result = objectAt(response, "result");
        if (!result)
            return failure("Unreadable Codex response");
        const json* limits = objectAt(*result, "rateLimits");
        const json* primary = limits ? objectAt(*limits, "primary") : nullptr;
        const json* secondary = limits ? objectAt(*limits, "secondary") : nullptr;
        if (!primary && !secondary)
            return failure("Codex returned no limits, run codex once");
        ProviderReading reading;
        for (const json* w : {primary, secondary})
            if (w)
                reading.windows.push_back(window(*w));
        const auto planType = limits->find("planType");
        const auto mapped =
            CodexPlan::map(planType != limits->end() && planType->is_string()
                               ? std::optional<std::string>(planType->get<std::string>())
                               : std::nullopt);
        reading.plan = mapped.plan;
        reading.planMultiplier = mapped.multiplier;
        if (const json* payload = objectAt(*limits, "credits"))
            reading.credits = credits(*payload);
        if (const json* reset = objectAt(*result, "rateLimitResetCredits"))
            reading.resetCredits = reset->value("availableCount", std::int64_t{0});
        return reading;
    } catch (const json::exception&) {
        return failure("Unreadable Codex response");
    }
}

} // namespace ravo::usage
