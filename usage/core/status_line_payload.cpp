#include "usage/core/status_line_payload.h"

#include <cmath>
#include <cstdio>

namespace ravo::usage::StatusLinePayload {

using nlohmann::json;

namespace {

std::optional<double> number(const json& value) {
    if (value.is_number())
        return value.get<double>();
    if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        char* end = nullptr;
        const double parsed = std::strtod(text.c_str(), &end);
        if (!text.empty() && end == text.c_str() + text.size() && std::isfinite(parsed))
            return parsed;
    }
    return std::nullopt;
}

std::optional<TimePoint> resetTime(const json& value) {
    if (value.is_string())
        if (auto iso = parseIso8601(value.get_ref<const std::string&>()))
            return iso;
    if (const auto seconds = number(value)) {
        // Some builds send milliseconds.
        return fromUnixSeconds(*seconds > 1e11 ? *seconds / 1000.0 : *seconds);
    }
    return std::nullopt;
}

std::optional<ClaudeLimits::Window> window(const json& value) {
    if (!value.is_object())
        return std::nullopt;
    const auto used = value.find("used_percentage");
    if (used == value.end())
        return std::nullopt;
    const auto percent = number(*used);
    if (!percent)
        return std::nullopt;
    ClaudeLimits::Window result{*percent, std::nullopt};
    if (const auto resets = value.find("resets_at"); resets != value.end())
        result.resetsAt = resetTime(*resets);
    return result;
}

std::string percent(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.0f%%", value);
    return buffer;
}

} // namespace

std::optional<ClaudeLimits> limits(const json& payload, TimePoint now) {
    if (!payload.is_object())
        return std::nullopt;
    const auto rateLimits = payload.find("rate_limits");
    if (rateLimits == payload.end() || !rateLimits->is_object())
        return std::nullopt;
    ClaudeLimits result;
    result.capturedAt = now;
    for (const auto& [key, value] : rateLimits->items()) {
        const auto parsed = window(value);
        if (!parsed)
            continue;
        if (key == "five_hour") {
            result.fiveHour = parsed;
        } else if (key == "seven_day") {
            result.sevenDay = parsed;
        } else if (key.starts_with("seven_day_") && key.size() > 10) {
            if (!result.models)
                result.models.emplace();
            (*result.models)[key.substr(10)] = *parsed;
        }
    }
    if (!result.fiveHour && !result.sevenDay && !result.models)
        return std::nullopt;
    return result;
}

std::string ownLine(const json& payload, const std::optional<ClaudeLimits>& limits) {
    std::string line;
    if (payload.is_object()) {
        const auto model = payload.find("model");
        if (model != payload.end() && model->is_object()) {
            const auto name = model->find("display_name");
            if (name != model->end() && name->is_string())
                line = name->get<std::string>();
        }
    }
    if (limits) {
        auto add = [&](const char* label, const std::optional<ClaudeLimits::Window>& w) {
            if (!w)
                return;
            if (!line.empty())
                line += " · ";
            line += std::string(label) + " " + percent(w->usedPercent);
        };
        add("5h", limits->fiveHour);
        add("week", limits->sevenDay);
    }
    return line.empty() ? "Claude Code" : line;
}

} // namespace ravo::usage::StatusLinePayload
