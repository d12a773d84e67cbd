#include "app/cloud_services.h"
#include "app/commands.h"
#include "app/live_status.h"
#include "app/platform/single_instance.h"
#include "app/status_report.h"
#include "base/paths.h"
#include "cloud/websites_status_reader.h"
#include "common/settings_values.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/core/connection_evaluator.h"
#include "connectivity/core/network_probe.h"
#include "connectivity/network_info_reader.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/system_sampler.h"
#include "metrics/core/temperature_unit_setting.h"
#include "metrics/platform/platform_counter_source.h"
#include "sessions/core/session_list.h"
#include "sessions/core/session_store.h"
#include "usage/live_usage.h"

#include <qcoro/qcorotask.h>

#include <QSettings>
#include <iostream>

#include <future>
#include <thread>

namespace ravo::app {

int runStatusCommand(bool json) {
    // A running Ravo answers with what it shows and notifies; looking again here could
    // disagree with it.
    if (const auto answer = SingleInstance().ask(statusQuestion(json))) {
        std::cout << *answer << std::flush;
        return 0;
    }
    using namespace metrics;
    SystemSampler sampler(makePlatformCounterSource());
    // Loads and rates are differences, so take a baseline first; the limits are asked for
    // meanwhile.
    sampler.sample(SampleRequest::all());
    const auto started = std::chrono::steady_clock::now();
    StatusReport report;
    auto settings = common::openUserSettings();
    // The probe waits on the network; it runs while the rest is read.
    const auto probeAddress = connectivity::ConnectionWatchdog::storedProbeAddress(*settings);
    auto probe = std::async(std::launch::async, [probeAddress] {
        return connectivity::NetworkProbe::latency(probeAddress, 4);
    });
    if (const auto home = paths::home()) {
        auto live = usage::makeLiveUsage(settings.get(), *home);
        report.usage = QCoro::waitFor(live.refresher->refresh());
        const auto cloud = CloudServices::forThisComputer();
        cloud::CloudAccount account(*settings, cloud.secrets, cloud.transport);
        report.websites = QCoro::waitFor(cloud::readWebsitesStatus(account, *settings));
    }
    sessions::SessionStore::prune(Clock::now());
    report.sessions = sessions::SessionList::newestFirst(sessions::SessionStore::loadAll());
    std::this_thread::sleep_until(started + std::chrono::seconds(1));
    report.system = sampler.sample(SampleRequest::all());
    report.network = connectivity::NetworkInfoReader::read();
    const auto latency = probe.get();
    report.connection = ConnectionReport{
        connectivity::ConnectionEvaluator::verdictOf(report.network->bsdName.has_value(), latency),
        latency, probeAddress.text()};
    if (json)
        std::cout << statusJsonText(report) << std::endl;
    else
        std::cout << statusText(
            report, metrics::TemperatureUnitSetting::applied(
                        metrics::FormatLocale::fromEnvironment(),
                        common::readText(*settings, metrics::TemperatureUnitSetting::kSetting)));
    return 0;
}

} // namespace ravo::app
