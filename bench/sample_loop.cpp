#include "metrics/core/system_sampler.h"
#include "metrics/platform/platform_counter_source.h"

#include <cstdlib>

// `ravo_sample_loop N` takes N full samples; callgrind's count for N+10 minus N is ten samples.
int main(int argc, char** argv) {
    using namespace ravo::metrics;
    const int count = argc > 1 ? std::atoi(argv[1]) : 1;
    SystemSampler sampler(makePlatformCounterSource());
    double sink = 0;
    for (int i = 0; i < count; ++i) {
        const auto reading = sampler.sample(SampleRequest::all());
        sink += reading.memory ? static_cast<double>(reading.memory->total) : 0.0;
    }
    return sink < 0 ? 1 : 0;
}
