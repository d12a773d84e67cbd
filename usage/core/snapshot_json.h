#pragma once

#include "usage/core/usage_model.h"

#include <nlohmann/json.hpp>

namespace ravo::usage {

// The shared file writes dates as seconds since 2001-01-01 UTC and reads no other form;
// what people read (`ravo status --json`) gets ISO 8601 text.
enum class DateStyle { referenceSeconds, iso8601 };

nlohmann::json snapshotToJson(const UsageSnapshot& snapshot, DateStyle dates);
// Throws nlohmann::json::exception or std::invalid_argument for anything but the file format.
UsageSnapshot snapshotFromJson(const nlohmann::json& json);

} // namespace ravo::usage
