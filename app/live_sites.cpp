#include "app/live_sites.h"

#include "cloud/cloud_account.h"
#include "cloud/core/sites_listing.h"
#include "cloud/website_monitor.h"

#include <QCoro/QCoroSignal>
#include <QPointer>

namespace ravo::app {

namespace {

QCoro::Task<> answerAfterPoll(QPointer<cloud::WebsiteMonitor> monitor, bool json,
                              std::function<void(std::optional<std::string>)> reply) {
    co_await monitor->refresh();
    // A poll or write already under way answers for this one once it is back.
    while (monitor && monitor->isSyncing()) {
        const auto changed = co_await qCoro(monitor.data(), &cloud::WebsiteMonitor::changed,
                                            std::chrono::seconds(20));
        if (!changed)
            break;
    }
    if (!monitor) {
        reply(std::nullopt);
        co_return;
    }
    const cloud::WebsitesStatus status{monitor->isSignedIn(), monitor->sites(), monitor->states(),
                                       monitor->lastError(), Clock::now()};
    reply(cloud::toAnswer(cloud::sitesListing(status, json)));
}

} // namespace

void answerSitesReport(const ui::Coordinators& parts, bool json,
                       std::function<void(std::optional<std::string>)> reply) {
    if (!parts.websiteMonitor || !parts.cloudAccount || !parts.cloudAccount->isSignedIn()) {
        reply(std::nullopt);
        return;
    }
    answerAfterPoll(parts.websiteMonitor, json, std::move(reply));
}

QString sitesQuestion(bool json) {
    return json ? QStringLiteral("report sites json") : QStringLiteral("report sites text");
}

} // namespace ravo::app
