#pragma once

#include "ui/terminal/dashboard_text.h"

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

// What the controller knows now, as one dashboard frame without its size.
DashboardFrame readDashboardFrame(const app::AppController& controller);

} // namespace ravo::ui
