#pragma once

#include "base/time.h"

#include <chrono>
#include <deque>
#include <string>
#include <vector>

namespace ravo::ui {

// The newest `width` of `values` as a graph `rows` high, one column per value and the
// newest at the right, scaled to `ceiling`; the top row first. Columns the history does
// not reach yet stay blank, and a measured value always marks the bottom row, so an idle
// series still shows how far back it goes.
std::vector<std::string> historyGraph(const std::vector<double>& values, double ceiling, int rows,
                                      int width);

// "last 40 s", "last 3 min", "last 2 h": the time `columns` values cover, `interval` apart.
std::string historySpan(int columns, std::chrono::milliseconds interval);

// How far apart the last `recent` readings came, on average; `fallback` until there are two.
std::chrono::milliseconds meanInterval(const std::deque<TimePoint>& readings, std::size_t recent,
                                       std::chrono::milliseconds fallback);

} // namespace ravo::ui
