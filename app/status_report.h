#pragma once

#include "cloud/core/websites_status.h"
#include "core/json_exact_number.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"
#include "sessions/core/agent_session.h"
#include "usage/core/usage_model.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// What `ravo status` prints. Each feature adds its own key to the JSON and its own block
// to the text.
namespace ravo::app {

struct StatusReport {
    metrics::SystemReading system;
    std::optional<usage::UsageSnapshot> usage;
    std::optional<std::vector<sessions::AgentSession>> sessions; // newest first
    std::optional<cloud::WebsitesStatus> websites;
};

// The report as `ravo status --json` prints it, credit balances exact.
std::string statusJsonText(const StatusReport& report);
nlohmann::json statusJson(const StatusReport& report,
                          std::vector<JsonExactNumber::Exact>* exact = nullptr);
std::string statusText(const StatusReport& report, const metrics::FormatLocale& locale);

} // namespace ravo::app
