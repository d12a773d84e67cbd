#include "usage/core/claude_limits.h"

#include "base/json_file.h"
#include "base/paths.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace ravo::usage {

using nlohmann::json;

namespace {

json windowJson(const ClaudeLimits::Window& window) {
    json j = {{"usedPercent", window.usedPercent}};
    if (window.resetsAt)
        j["resetsAt"] = unixSeconds(*window.resetsAt);
    return j;
}

ClaudeLimits::Window windowFrom(const json& j) {
    ClaudeLimits::Window window;
    window.usedPercent = j.at("usedPercent").get<double>();
    if (const auto it = j.find("resetsAt"); it != j.end() && !it->is_null())
        window.resetsAt = fromUnixSeconds(it->get<double>());
    return window;
}

UsageWindow usageWindow(std::string id, const ClaudeLimits::Window& window,
                        std::optional<std::string> model, const ClaudeLimits& limits,
                        TimePoint now) {
    UsageWindow result;
    result.id = std::move(id);
    result.minutes = model || result.id == "claude-7d" ? 10080 : 300;
    result.model = std::move(model);
    result.observedAt = limits.capturedAt;
    if (window.resetsAt && *window.resetsAt <= now)
        return result; // rolled over since the capture
    result.usedPercent = window.usedPercent;
    result.resetsAt = window.resetsAt;
    return result;
}

} // namespace

json toJson(const ClaudeLimits& limits) {
    json j = {{"capturedAt", unixSeconds(limits.capturedAt)}};
    if (limits.fiveHour)
        j["fiveHour"] = windowJson(*limits.fiveHour);
    if (limits.sevenDay)
        j["sevenDay"] = windowJson(*limits.sevenDay);
    if (limits.models) {
        json models = json::object();
        for (const auto& [key, window] : *limits.models)
            models[key] = windowJson(window);
        j["models"] = std::move(models);
    }
    return j;
}

std::optional<ClaudeLimits> claudeLimitsFromJson(const json& j) {
    try {
        ClaudeLimits limits;
        limits.capturedAt = fromUnixSeconds(j.at("capturedAt").get<double>());
        if (const auto it = j.find("fiveHour"); it != j.end() && !it->is_null())
            limits.fiveHour = windowFrom(*it);
        if (const auto it = j.find("sevenDay"); it != j.end() && !it->is_null())
            limits.sevenDay = windowFrom(*it);
        if (const auto it = j.find("models"); it != j.end() && !it->is_null()) {
            limits.models.emplace();
            for (const auto& [key, window] : it->items())
                limits.models->emplace(key, windowFrom(window));
        }
        return limits;
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

std::optional<std::filesystem::path> ClaudeLimitsStore::filePath() {
    return paths::inSharedContainer("claude-limits.json");
}

std::optional<ClaudeLimits> ClaudeLimitsStore::load() {
    const auto file = readJsonObject(filePath());
    return file ? claudeLimitsFromJson(*file) : std::nullopt;
}

ProviderReading ClaudeStatusLine::reading(const ClaudeLimits& limits, TimePoint now) {
    ProviderReading reading;
    if (limits.fiveHour)
        reading.windows.push_back(
            usageWindow("claude-5h", *limits.fiveHour, std::nullopt, limits, now));
    if (limits.sevenDay)
        reading.windows.push_back(
            usageWindow("claude-7d", *limits.sevenDay, std::nullopt, limits, now));
    if (limits.models) {
        for (const auto& [key, window] : *limits.models) { // std::map: ascending keys
            std::string spaced = key;
            std::replace(spaced.begin(), spaced.end(), '_', ' ');
            reading.windows.push_back(
                usageWindow("claude-7d-" + key, window, capitalizeWords(spaced), limits, now));
        }
    }
    reading.fetchedAt = limits.capturedAt;
    return reading;
}

} // namespace ravo::usage
