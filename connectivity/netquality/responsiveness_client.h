#pragma once

#include "base/result.h"
#include "connectivity/netquality/netquality_report.h"

#include <chrono>
#include <string>

namespace ravo::connectivity {

// A client of the IETF "Responsiveness under Working Conditions" draft: idle latency first,
// then a download and an upload phase that add a connection each second until the
// throughput settles, with latency probes on fresh connections and on a loaded one.
class ResponsivenessClient {
public:
    struct Options {
        std::string configURL;
        std::chrono::seconds maxRuntime{30};
    };

    explicit ResponsivenessClient(Options options) : options_(std::move(options)) {}

    // The report, or why the test could not be run; never longer than the run-time limit.
    Result<NetqualityReport> run();

private:
    Options options_;
};

} // namespace ravo::connectivity
