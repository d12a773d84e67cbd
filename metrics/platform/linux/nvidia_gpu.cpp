#include "metrics/platform/linux/nvidia_gpu.h"

#include <algorithm>
#include <dlfcn.h>

namespace ravo::metrics::kernel {

namespace {
constexpr int kSuccess = 0;
constexpr int kTemperatureGPU = 0;
} // namespace

struct NvidiaGpu::Api {
    using Device = void*;
    struct Utilization {
        unsigned gpu;
        unsigned memory;
    };

    void* library = nullptr;
    int (*shutdown)() = nullptr;
    int (*utilizationRates)(Device, Utilization*) = nullptr;
    int (*temperature)(Device, int, unsigned*) = nullptr;
    Device device = nullptr;

    ~Api() {
        if (shutdown)
            shutdown();
        if (library)
            ::dlclose(library);
    }
};

namespace {
template <typename Function> bool resolve(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}
} // namespace

std::unique_ptr<NvidiaGpu> NvidiaGpu::load() {
    auto api = std::make_unique<Api>();
    api->library = ::dlopen("libnvidia-ml.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!api->library)
        return nullptr;
    int (*init)() = nullptr;
    int (*handleByIndex)(unsigned, Api::Device*) = nullptr;
    if (!resolve(api->library, "nvmlInit_v2", init) ||
        !resolve(api->library, "nvmlDeviceGetHandleByIndex_v2", handleByIndex) ||
        !resolve(api->library, "nvmlDeviceGetUtilizationRates", api->utilizationRates) ||
        !resolve(api->library, "nvmlShutdown", api->shutdown))
        return nullptr;
    resolve(api->library, "nvmlDeviceGetTemperature", api->temperature);
    if (init() != kSuccess) {
        api->shutdown = nullptr;
        return nullptr;
    }
    if (handleByIndex(0, &api->device) != kSuccess)
        return nullptr;
    return std::unique_ptr<NvidiaGpu>(new NvidiaGpu(std::move(api)));
}

NvidiaGpu::NvidiaGpu(std::unique_ptr<Api> api) : api_(std::move(api)) {}
NvidiaGpu::~NvidiaGpu() = default;

std::optional<double> NvidiaGpu::utilization() const {
    Api::Utilization rates{};
    if (api_->utilizationRates(api_->device, &rates) != kSuccess)
        return std::nullopt;
    return std::clamp(rates.gpu / 100.0, 0.0, 1.0);
}

std::optional<double> NvidiaGpu::temperature() const {
    unsigned celsius = 0;
    if (!api_->temperature ||
        api_->temperature(api_->device, kTemperatureGPU, &celsius) != kSuccess)
        return std::nullopt;
    return static_cast<double>(celsius);
}

} // namespace ravo::metrics::kernel
