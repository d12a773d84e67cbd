#include "app/live_status.h"

#include "app/live_sites.h"
#include "cloud/cloud_account.h"
#include "cloud/website_monitor.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/network_info_reader.h"
#include "connectivity/speed_test.h"
#include "metrics/core/system_sampler.h"
#include "metrics/core/temperature_unit_setting.h"
#include "metrics/platform/platform_counter_source.h"
#include "metrics/system_monitor.h"
#include "sessions/core/session_list.h"
#include "sessions/session_tracker.h"
#include "usage/usage_coordinator.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdlib>
#include <memory>

namespace ravo::app {

std::optional<StatusReport> liveStatusReport(const ui::Coordinators& parts,
                                             metrics::SystemReading system) {
    if (!parts.watchdog || !parts.watchdog->state())
        return std::nullopt;
    StatusReport report;
    report.system = std::move(system);
    if (parts.usage)
        report.usage = parts.usage->snapshot();
    if (parts.sessions)
        report.sessions = sessions::SessionList::newestFirst(parts.sessions->sessions());
    if (parts.websiteMonitor && parts.cloudAccount) {
        cloud::WebsitesStatus websites;
        websites.isSignedIn = parts.cloudAccount->isSignedIn();
        websites.sites = parts.websiteMonitor->sites();
        websites.states = parts.websiteMonitor->states();
        websites.error = parts.websiteMonitor->lastError();
        report.websites = std::move(websites);
    }
    report.network = connectivity::NetworkInfoReader::read();
    report.connection = ConnectionReport{*parts.watchdog->state(), parts.watchdog->lastLatency(),
                                         parts.watchdog->probeAddress().text()};
    return report;
}

void answerReport(const ui::Coordinators& parts, const QString& what,
                  std::function<void(std::optional<std::string>)> reply) {
    const QStringList words = what.split(' ', Qt::SkipEmptyParts);
    const bool json = words.value(1) == QLatin1String("json");
    if (words.value(0) == QLatin1String("sites")) {
        answerSitesReport(parts, json, std::move(reply));
        return;
    }
    if (words.value(0) == QLatin1String("speedtests")) {
        // An unreadable list is the asker's to report: it reads the same settings.
        const auto records = parts.speedTest ? parts.speedTest->readHistory()
                                             : Failure{"this Ravo runs no speed test"};
        if (!records) {
            reply(std::nullopt);
            return;
        }
        const bool measuring =
            parts.speedTest->phase() == connectivity::SpeedTest::Phase::measuring;
        reply(connectivity::SpeedTestHistory::toDocument(*records, measuring).dump());
        return;
    }
    if (words.value(0) != QLatin1String("status") ||
        (!json && words.value(1) != QLatin1String("text")) || !parts.watchdog ||
        !parts.watchdog->state()) {
        reply(std::nullopt);
        return;
    }
    auto sampler = std::make_shared<metrics::SystemSampler>(metrics::makePlatformCounterSource());
    sampler->sample(metrics::SampleRequest::all());
    const FormatLocale locale = metrics::TemperatureUnitSetting::applied(
        FormatLocale::named(words.value(2).toStdString()),
        parts.systemMonitor ? parts.systemMonitor->temperatureUnit() : std::string());
    QTimer::singleShot(std::chrono::seconds(1), qApp, [parts, sampler, json, locale, reply] {
        const auto report = liveStatusReport(parts, sampler->sample(metrics::SampleRequest::all()));
        if (!report)
            reply(std::nullopt);
        else
            reply(json ? statusJsonText(*report) + "\n" : statusText(*report, locale));
    });
}

QString statusQuestion(bool json) {
    if (json)
        return QStringLiteral("report status json");
    // The numbers as the asker's terminal writes them, not as the running Ravo's session does.
    QString locale = QStringLiteral("C");
    for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* value = std::getenv(variable); value && value[0]) {
            locale = QString::fromLocal8Bit(value).simplified().section(' ', 0, 0);
            break;
        }
    return QStringLiteral("report status text ") + locale;
}

} // namespace ravo::app
