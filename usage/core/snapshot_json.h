#pragma once

#include "base/json_exact_number.h"
#include "base/result.h"
#include "usage/core/usage_model.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::usage {

// The shared file writes dates as seconds since 2001-01-01 UTC and reads no other form;
// what people read (`ravo status --json`) gets ISO 8601 text.
enum class DateStyle { referenceSeconds, iso8601 };

// Balances a double would round are written rounded; pass `exact` to have them listed for
// JsonExactNumber::dump, which writes them exactly.
nlohmann::json snapshotToJson(const UsageSnapshot& snapshot, DateStyle dates,
                              std::vector<JsonExactNumber::Exact>* exact = nullptr);
// Throws nlohmann::json::exception or std::invalid_argument for anything but the file format.
UsageSnapshot snapshotFromJson(const nlohmann::json& json);

// The file's text, and back; a failure says what is wrong with the text.
std::string encodeSnapshot(const UsageSnapshot& snapshot, DateStyle dates);
Result<UsageSnapshot> decodeSnapshot(std::string_view text);

} // namespace ravo::usage
