#pragma once

#include "base/json_exact_number.h"
#include "cloud/core/websites_status.h"
#include "connectivity/core/connection_state.h"
#include "connectivity/core/latency_math.h"
#include "connectivity/core/network_interface_info.h"
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

// One look at the connection: the verdict, the probe's figures and where it went.
struct ConnectionReport {
    connectivity::ConnectionState state;
    std::optional<connectivity::LatencySummary> latency;
    std::string probeAddress;
    bool operator==(const ConnectionReport&) const = default;
};

struct StatusReport {
    metrics::SystemReading system;
    std::optional<usage::UsageSnapshot> usage;
    std::optional<std::vector<sessions::AgentSession>> sessions; // newest first
    std::optional<cloud::WebsitesStatus> websites;
    std::optional<ConnectionReport> connection;
    std::optional<connectivity::NetworkInterfaceInfo> network;
};

// The report as `ravo status --json` prints it, credit balances exact.
std::string statusJsonText(const StatusReport& report);
nlohmann::json statusJson(const StatusReport& report,
                          std::vector<JsonExactNumber::Exact>* exact = nullptr);
std::string statusText(const StatusReport& report, const metrics::FormatLocale& locale);

} // namespace ravo::app
