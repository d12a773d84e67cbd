#include "usage/usage_refresher.h"

#include "base/json_parse.h"
#include "usage/usage_log.h"

#include <QPointer>
#include <QSettings>

#include <nlohmann/json.hpp>

namespace ravo::usage {

namespace {

std::map<Provider, TimePoint> loadBackoff(QSettings* defaults) {
    std::map<Provider, TimePoint> blocked;
    const auto stored =
        parseJson(defaults->value(UsageRefresher::kBackoffKey).toString().toStdString());
    if (!stored || !stored->is_object())
        return blocked;
    for (const auto& [raw, seconds] : stored->items())
        if (const auto provider = providerFromRaw(raw); provider && seconds.is_number())
            blocked[*provider] = fromUnixSeconds(seconds.get<double>());
    return blocked;
}

} // namespace

UsageRefresher::UsageRefresher(Providers providers, LoadSnapshot load, Publish publish,
                               QSettings* defaults, Now now, QObject* parent)
    : QObject(parent), providers_(std::move(providers)), publish_(std::move(publish)),
      defaults_(defaults), now_(std::move(now)) {
    for (const auto& entry : providers_)
        enabled_.insert(entry.first);
    snapshot_ = load ? load().value_or(UsageSnapshot{}) : UsageSnapshot{};
    blockedUntil_ = loadBackoff(defaults_);
}

void UsageRefresher::setEnabledProviders(std::set<Provider> enabled) {
    enabled_ = std::move(enabled);
}

std::set<Provider> UsageRefresher::enabledProviders() const {
    std::set<Provider> result;
    for (const auto& entry : providers_)
        if (enabled_.contains(entry.first))
            result.insert(entry.first);
    return result;
}

void UsageRefresher::saveBackoff() {
    nlohmann::json stored = nlohmann::json::object();
    for (const auto& [provider, until] : blockedUntil_)
        stored[std::string(rawValue(provider))] = unixSeconds(until);
    defaults_->setValue(kBackoffKey, QString::fromStdString(stored.dump()));
}

QCoro::Task<> UsageRefresher::fetchAndApply(Provider provider,
                                            std::shared_ptr<UsageProvider> source, TimePoint now) {
    QPointer<UsageRefresher> self(this);
    UsageOutcome outcome = UsageError{{}, {}, {}};
    // Whatever a provider throws is its own failure: the pass, and every later pass, go on.
    try {
        outcome = co_await source->fetch(now);
    } catch (const std::exception& error) {
        outcome = UsageError{std::string("Reading the limits failed: ") + error.what(), {}, {}};
    } catch (...) {
        outcome = UsageError{"Reading the limits failed.", {}, {}};
    }
    if (!self)
        co_return;
    if (const auto* error = std::get_if<UsageError>(&outcome)) {
        qCWarning(lcRefresh).noquote() << QString::fromUtf8(rawValue(provider).data())
                                       << "fetch failed:" << QString::fromStdString(error->message);
        if (error->retryAfter) {
            blockedUntil_[provider] = *error->retryAfter;
            saveBackoff();
        }
    }
    snapshot_.apply(outcome, provider, now);
    emit snapshotChanged();
}

QCoro::Task<std::optional<UsageSnapshot>> UsageRefresher::refresh() {
    if (isRefreshing_)
        co_return std::nullopt;
    isRefreshing_ = true;
    QPointer<UsageRefresher> self(this);
    const TimePoint now = now_();
    snapshot_.retain(enabledProviders());
    std::vector<QCoro::Task<>> running;
    for (const auto& [provider, source] : providers_) {
        if (!enabled_.contains(provider))
            continue;
        const auto blocked = blockedUntil_.find(provider);
        if (blocked != blockedUntil_.end() && now <= blocked->second)
            continue;
        running.push_back(fetchAndApply(provider, source, now));
    }
    // Each task applies its own answer when it arrives; this only waits for the last one.
    for (auto& task : running)
        co_await task;
    if (!self)
        co_return std::nullopt;
    if (publish_)
        if (const Status published = publish_(snapshot_); !published)
            qCWarning(lcSnapshot).noquote()
                << "Snapshot save failed:" << QString::fromStdString(published.error());
    isRefreshing_ = false;
    emit snapshotChanged();
    // A copy: g++ 12 moves from a member named in co_return.
    UsageSnapshot published = snapshot_;
    co_return published;
}

} // namespace ravo::usage
