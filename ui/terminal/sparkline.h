#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ravo::ui {

// One block character per value, scaled to `ceiling` (the largest value when absent).
std::string sparkline(const std::vector<double>& values, std::optional<double> ceiling);

} // namespace ravo::ui
