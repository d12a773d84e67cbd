#include "cloud/website_monitor.h"

#include "base/log.h"
#include "cloud/site_list_settings.h"

#include <QUuid>

#include <algorithm>

namespace ravo::cloud {

WebsiteMonitor::WebsiteMonitor(CloudAccount& account, AlertNotifier* notifier, QSettings& settings,
                               Options options, QObject* parent)
    : QObject(parent), account_(account), notifier_(notifier), settings_(settings),
      options_(std::move(options)), pending_(SiteListSettings::loadPending(settings)) {
    // Edits the server has not taken yet show, also after a restart.
    sites_ = withPendingEdits(SiteListSettings::load(settings));
    if (options_.publishesToWidget)
        widgetFile_ = std::make_unique<WebsitesWidgetFile>(options_.widgetFile);
    poll_.setInterval(options_.pollInterval);
    poll_.setTimerType(Qt::CoarseTimer);
    connect(&poll_, &QTimer::timeout, this, [this] { pollRound(); });
    connect(&account_, &CloudAccount::changed, this, &WebsiteMonitor::accountChanged);
}

void WebsiteMonitor::start() {
    if (poll_.isActive())
        return;
    poll_.start();
    if (account_.isSignedIn() && !adoptedFor_)
        adoptAccount();
    else
        pollRound();
}

void WebsiteMonitor::stop() {
    poll_.stop();
}

std::int64_t WebsiteMonitor::intervalMinutes() const {
    return SiteListSettings::intervalMinutes(settings_, account_.me().value_or(wire::CloudMe{}));
}

SiteState WebsiteMonitor::state(const std::string& siteID) const {
    const auto found = states_.find(siteID);
    return found == states_.end() ? SiteState{} : found->second;
}

void WebsiteMonitor::beginSync() {
    if (syncing_++ == 0)
        emit changed();
}

void WebsiteMonitor::endSync() {
    if (--syncing_ == 0)
        emit changed();
}

std::optional<SiteInputError> WebsiteMonitor::add(const std::string& name,
                                                  const std::string& address,
                                                  const std::string& keyword) {
    auto added = withAddedSite(sites_, account_.me(), name, address, keyword,
                               QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString());
    if (auto* problem = std::get_if<SiteInputError>(&added))
        return *problem;
    const MonitoredSite site = std::get<std::vector<MonitoredSite>>(added).back();
    edit({PendingSiteEdit::Kind::add, toCloudSite(site, intervalMinutes())});
    return std::nullopt;
}

void WebsiteMonitor::setEnabled(bool enabled, const std::string& siteID) {
    const auto site =
        std::find_if(sites_.begin(), sites_.end(), [&](const auto& s) { return s.id == siteID; });
    if (site == sites_.end() || site->isEnabled == enabled)
        return;
    wire::CloudSite changed;
    changed.id = siteID;
    edit({enabled ? PendingSiteEdit::Kind::enable : PendingSiteEdit::Kind::disable, changed});
}

void WebsiteMonitor::remove(const std::string& siteID) {
    if (std::none_of(sites_.begin(), sites_.end(), [&](const auto& s) { return s.id == siteID; }))
        return;
    states_.erase(siteID);
    uptimeDay_.erase(siteID);
    wire::CloudSite removed;
    removed.id = siteID;
    edit({PendingSiteEdit::Kind::remove, removed});
}

void WebsiteMonitor::setIntervalMinutes(std::int64_t minutes) {
    settings_.setValue(SiteListSettings::kIntervalKey, qlonglong(minutes));
    settings_.sync();
    intervalChanged();
}

void WebsiteMonitor::publishForWidget() {
    if (widgetFile_)
        widgetFile_->publish(sites_, states_, uptimeDay_, account_.isSignedIn(), options_.now());
}

void WebsiteMonitor::persist() {
    SiteListSettings::save(settings_, sites_);
    if (settings_.status() != QSettings::NoError)
        log::error("websites", "Saving websites failed: the settings file cannot be written");
}

} // namespace ravo::cloud
