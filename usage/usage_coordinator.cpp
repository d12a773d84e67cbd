#include "usage/usage_coordinator.h"

#include "common/log_categories.h"
#include "common/settings_values.h"
#include "usage/claude_usage_probe.h"
#include "usage/usage_refresher.h"

#include <QPointer>
#include <QSettings>

namespace ravo::usage {

UsageCoordinator::UsageCoordinator(QSettings& defaults, Services services, QObject* parent)
    : QObject(parent), defaults_(defaults), services_(std::move(services)),
      readsClaudeLimits_(common::readFlag(defaults_, kClaudeStatusLine)) {
    if (services_.refresher && !services_.refresher->snapshot().providers.empty())
        snapshot_ = services_.refresher->snapshot(); // the last picture, shown at once
}

QCoro::Task<> UsageCoordinator::refresh() {
    if (isRefreshing_) {
        refreshRequested_ = true;
        co_return;
    }
    if (!services_.refresher)
        co_return;
    QPointer<UsageCoordinator> self(this);
    isRefreshing_ = true;
    do {
        refreshRequested_ = false;
        ++refreshCount_;
        const auto fresh = co_await services_.refresher->refresh();
        if (!self)
            co_return;
        // Identical data wakes nobody: the tray icons and views redraw only on change.
        if (fresh && (!snapshot_ || fresh->providers != snapshot_->providers)) {
            snapshot_ = *fresh;
            emit snapshotChanged();
        }
    } while (refreshRequested_);
    isRefreshing_ = false;
}

QCoro::Task<> UsageCoordinator::refreshIfOutdated() {
    std::optional<TimePoint> earliest;
    if (snapshot_) {
        for (const auto& usage : snapshot_->providers) {
            const TimePoint updated = usage.updatedAt.value_or(TimePoint{});
            if (!earliest || updated < *earliest)
                earliest = updated;
        }
    }
    if (!earliest || secondsBetween(*earliest, services_.now()) >= kOutdatedSeconds)
        co_await refresh();
}

void UsageCoordinator::restoreStatusLine() {
    if (readsClaudeLimits_ && services_.statusLine.isCurrent && !services_.statusLine.isCurrent())
        setReadsClaudeLimits(true);
}

void UsageCoordinator::setReadsClaudeLimits(bool enabled) {
    defaults_.setValue(kClaudeStatusLineKey, enabled);
    const Status changed =
        services_.statusLine.change ? services_.statusLine.change(enabled) : Status(success());
    if (!changed) {
        claudeLimitsError_ = changed.error();
        qCWarning(lcApp).noquote()
            << "Claude status line change failed:" << QString::fromStdString(changed.error());
    } else {
        claudeLimitsError_.reset();
    }
    readsClaudeLimits_ = enabled && changed.ok();
    emit settingsChanged();
}

bool UsageCoordinator::asksClaudeCodeForUsage() const {
    return services_.probe && services_.probe->isEnabled();
}

void UsageCoordinator::setAsksClaudeCodeForUsage(bool enabled) {
    if (!services_.probe || enabled == services_.probe->isEnabled())
        return;
    services_.probe->setEnabled(enabled);
    emit settingsChanged();
    if (enabled)
        refresh();
}

} // namespace ravo::usage
