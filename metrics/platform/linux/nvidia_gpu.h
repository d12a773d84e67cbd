#pragma once

#include <memory>
#include <optional>

namespace ravo::metrics::kernel {

// NVIDIA's management library, loaded at run time so machines without it lose nothing.
class NvidiaGpu {
public:
    // Nothing when the library or a device is missing.
    static std::unique_ptr<NvidiaGpu> load();
    ~NvidiaGpu();
    NvidiaGpu(const NvidiaGpu&) = delete;
    NvidiaGpu& operator=(const NvidiaGpu&) = delete;

    // Busy fraction 0...1 of the first device.
    std::optional<double> utilization() const;
    std::optional<double> temperature() const;

private:
    struct Api;
    explicit NvidiaGpu(std::unique_ptr<Api> api);
    std::unique_ptr<Api> api_;
};

} // namespace ravo::metrics::kernel
