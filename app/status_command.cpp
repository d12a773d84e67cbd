#include "app/commands.h"
#include "app/environment_locale.h"
#include "app/status_report.h"
#include "metrics/core/system_sampler.h"
#include "metrics/platform/platform_counter_source.h"

#include <iostream>
#include <thread>

namespace ravo::app {

int runStatusCommand(bool json) {
    using namespace metrics;
    SystemSampler sampler(makePlatformCounterSource());
    // Loads and rates are differences, so take a baseline first.
    sampler.sample(SampleRequest::all());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    StatusReport report{sampler.sample(SampleRequest::all())};
    if (json)
        std::cout << statusJson(report).dump(2) << std::endl;
    else
        std::cout << statusText(report, environmentLocale());
    return 0;
}

} // namespace ravo::app
