#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"

#include <string>
#include <vector>

namespace ravo::ui {

// The busiest and the largest processes as plain lines: a heading naming the columns, then
// one row per process with its name, pid, share of one core and resident memory, in
// columns that line up. A list without processes (no baseline yet for the CPU) is left
// out. Names come from the kernel and any process can choose its own: they are cut to
// fit and never carry control characters to the terminal.
std::vector<std::string> processTableLines(const metrics::TopProcesses& processes,
                                           const metrics::FormatLocale& locale);

// One of the lists under its heading; nothing for an empty list.
std::vector<std::string> processListLines(const char* heading,
                                          const std::vector<metrics::ProcessUsage>& list,
                                          const metrics::FormatLocale& locale);

} // namespace ravo::ui
