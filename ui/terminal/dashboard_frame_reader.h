#pragma once

#include "ui/terminal/dashboard_text.h"

namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

// What the dashboard shows besides the machine: the limits and the sessions as they are now.
struct DashboardAgents {
    std::optional<usage::UsageSnapshot> usage;
    bool tracksSessions = false;
    std::vector<sessions::AgentSession> sessions; // newest first
};

// The monitor's figures and the agents' state now, as one dashboard frame without its size.
DashboardFrame readDashboardFrame(const metrics::SystemMonitor& monitor, DashboardAgents agents);

} // namespace ravo::ui
