#pragma once

#include "base/result.h"
#include "usage/core/usage_model.h"
#include "usage/usage_provider.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

class QSettings;

namespace ravo::usage {

// Owns the live snapshot: asks every enabled provider at once, folds each answer in as it
// arrives, then saves the snapshot for everyone else to read.
class UsageRefresher : public QObject {
    Q_OBJECT
public:
    using Providers = std::vector<std::pair<Provider, std::shared_ptr<UsageProvider>>>;
    using LoadSnapshot = std::function<std::optional<UsageSnapshot>()>;
    using Publish = std::function<Status(const UsageSnapshot&)>;
    using Now = std::function<TimePoint()>;

    UsageRefresher(Providers providers, LoadSnapshot load, Publish publish, QSettings* defaults,
                   Now now = Clock::now, QObject* parent = nullptr);

    static constexpr const char* kBackoffKey = "providerBackoff";

    // One pass; nothing when a pass is already under way.
    QCoro::Task<std::optional<UsageSnapshot>> refresh();

    const UsageSnapshot& snapshot() const { return snapshot_; }
    bool isRefreshing() const { return isRefreshing_; }
    const std::map<Provider, TimePoint>& blockedUntil() const { return blockedUntil_; }
    // Providers outside the set are neither asked nor kept.
    void setEnabledProviders(std::set<Provider> enabled);
    std::set<Provider> enabledProviders() const;

signals:
    void snapshotChanged();

private:
    QCoro::Task<> fetchAndApply(Provider provider, std::shared_ptr<UsageProvider> source,
                                TimePoint now);
    void saveBackoff();

    Providers providers_;
    std::set<Provider> enabled_;
    Publish publish_;
    QSettings* defaults_;
    Now now_;
    UsageSnapshot snapshot_;
    std::map<Provider, TimePoint> blockedUntil_;
    bool isRefreshing_ = false;
};

} // namespace ravo::usage
