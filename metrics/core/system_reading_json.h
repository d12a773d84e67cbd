#pragma once

#include "metrics/core/system_reading.h"

#include <nlohmann/json_fwd.hpp>

// JSON with exactly the reading model's keys; the reading's date is ISO 8601 text.
namespace ravo::metrics {

void to_json(nlohmann::json& j, const CPULoad& v);
void from_json(const nlohmann::json& j, CPULoad& v);
void to_json(nlohmann::json& j, const GPUUtilization& v);
void from_json(const nlohmann::json& j, GPUUtilization& v);
void to_json(nlohmann::json& j, const MemoryUsage& v);
void from_json(const nlohmann::json& j, MemoryUsage& v);
void to_json(nlohmann::json& j, const SwapUsage& v);
void from_json(const nlohmann::json& j, SwapUsage& v);
void to_json(nlohmann::json& j, const DiskUsage& v);
void from_json(const nlohmann::json& j, DiskUsage& v);
void to_json(nlohmann::json& j, const NetworkUsage& v);
void from_json(const nlohmann::json& j, NetworkUsage& v);
void to_json(nlohmann::json& j, const Temperatures& v);
void from_json(const nlohmann::json& j, Temperatures& v);
void to_json(nlohmann::json& j, const ProcessUsage& v);
void from_json(const nlohmann::json& j, ProcessUsage& v);
void to_json(nlohmann::json& j, const TopProcesses& v);
void from_json(const nlohmann::json& j, TopProcesses& v);
void to_json(nlohmann::json& j, const SystemReading& v);
void from_json(const nlohmann::json& j, SystemReading& v);

} // namespace ravo::metrics
