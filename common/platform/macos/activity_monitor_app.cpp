#include "common/system_monitor_app.h"

#include <QProcess>

namespace ravo::common {

namespace {

// Every macOS has it; Launch Services finds it wherever it is.
class ActivityMonitorApp final : public SystemMonitorApp {
public:
    bool isInstalled() const override { return true; }
    Status open() const override {
        if (!QProcess::startDetached("/usr/bin/open", {"-a", "Activity Monitor"}))
            return Failure{"Cannot open Activity Monitor"};
        return success();
    }
};

} // namespace

std::unique_ptr<SystemMonitorApp> makeSystemMonitorApp() {
    return std::make_unique<ActivityMonitorApp>();
}

} // namespace ravo::common
