#pragma once

#include "base/result.h"
#include "connectivity/netquality/transfer_set.h"

#include <string>

namespace ravo::connectivity::netquality {

// The round trip of an idle link, from probes on fresh connections to `smallURL`: at least a
// few, more while a queue left by an earlier load still drains, never past `deadline`.
Result<double> measureIdleLatency(const std::string& smallURL, Clock::time_point deadline);

} // namespace ravo::connectivity::netquality
