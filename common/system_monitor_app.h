#pragma once

#include "base/result.h"

#include <memory>

namespace ravo::common {

// The desktop's own system monitor, for what Ravo leaves out. Asked afresh each time, so
// one installed or removed while Ravo runs is seen at the next look.
class SystemMonitorApp {
public:
    virtual ~SystemMonitorApp() = default;
    virtual bool isInstalled() const = 0;
    // Starts it apart from Ravo: it stays open when Ravo quits.
    virtual Status open() const = 0;
};

// This platform's: a freedesktop entry on Linux, Activity Monitor on macOS.
std::unique_ptr<SystemMonitorApp> makeSystemMonitorApp();

} // namespace ravo::common
