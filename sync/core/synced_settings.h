#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ravo::sync {

// The settings that follow the user from computer to computer.
struct SyncedSettings {
    static constexpr int kVersion = 1;

    int version = kVersion;
    std::vector<std::string> metricOrder; // metric names: "cpu", "gpu", ...
    std::vector<std::string> enabledMetrics;
    bool desktopAlerts = true;
    bool connectionAlerts = true;
    bool latencyMonitoring = true;
    bool tracksSessions = false;
    bool operator==(const SyncedSettings&) const = default;

    // What a fresh installation starts from: every metric in the standard order, every
    // alert on, session tracking off until the user turns it on.
    static SyncedSettings factoryDefaults();

    nlohmann::json toJson() const;
    // Nothing when a key is missing or of the wrong type, or a metric name is unknown.
    static std::optional<SyncedSettings> fromJson(const nlohmann::json& json);
};

} // namespace ravo::sync
