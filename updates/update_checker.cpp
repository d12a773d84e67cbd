#include "updates/update_checker.h"

#include "common/http_transport.h"
#include "common/log_categories.h"
#include "base/atomic_file.h"
#include "base/json_parse.h"
#include "updates/core/update_verifier.h"

#include <QPointer>
#include <QSettings>
#include <QTimer>
#include <QUrlQuery>

namespace ravo::updates {

namespace {

std::optional<ReleaseManifest> cachedManifest(const QSettings& defaults) {
    const auto stored =
        parseJsonOrDiscarded(defaults.value(UpdateChecker::kManifestKey).toString().toStdString());
    return stored.is_discarded() ? std::nullopt : ReleaseManifest::fromJson(stored);
}

bool isOlder(const ReleaseManifest& offered, const ReleaseManifest& known) {
    return offered.build < known.build ||
           (offered.build == known.build && offered.publishedAt < known.publishedAt);
}

} // namespace

UpdateChecker::UpdateChecker(QSettings& defaults, std::shared_ptr<common::HttpTransport> transport,
                             Options options, QObject* parent)
    : QObject(parent), defaults_(defaults), transport_(std::move(transport)),
      options_(std::move(options)), timer_(new QTimer(this)) {
    if (options_.publicKey.empty())
        options_.publicKey = UpdateVerifier::defaultPublicKey();
    // The last verified manifest decides at once, before the network is asked.
    decision_ = UpdateDecision::decide(cachedManifest(defaults_), options_.currentBuild);
    timer_->setInterval(options_.interval);
    timer_->setTimerType(Qt::VeryCoarseTimer);
    connect(timer_, &QTimer::timeout, this, [this] { check(); });
}

QUrl UpdateChecker::manifestURL(const QUrl& apiBase) {
    QUrl url = apiBase.resolved(QUrl("releases/latest"));
    url.setQuery(QUrlQuery{{"platform", "linux"}, {"channel", "stable"}});
    return url;
}

void UpdateChecker::start() {
    if (timer_->isActive() || !options_.manifest)
        return;
    timer_->start();
    check();
}

void UpdateChecker::stop() {
    timer_->stop();
}

QCoro::Task<> UpdateChecker::check() {
    if (!transport_ || !options_.manifest)
        co_return;
    QPointer<UpdateChecker> self(this);
    // A named call: GCC 12 frees a braced temporary inside co_await twice.
    common::HttpCall call{"GET", options_.manifest(), {}, {}};
    const auto answer = co_await transport_->send(std::move(call));
    if (!self)
        co_return;
    if (answer && answer->tooLarge) {
        setError("The release server's answer is too large to be release information.");
        co_return;
    }
    if (!answer || answer->status == 0) {
        qCInfo(lcUpdates) << "The release server cannot be reached";
        co_return; // offline is not an error worth showing; the last manifest stands
    }
    if (answer->status == 404)
        co_return; // nothing published
    if (answer->status != 200) {
        setError("The release server failed (HTTP " + std::to_string(answer->status) + ").");
        co_return;
    }
    const auto verified = UpdateVerifier::manifest(answer->body.toStdString(), options_.publicKey);
    if (const auto* error = std::get_if<UpdateError>(&verified)) {
        setError(std::string(text(*error)));
        qCWarning(lcUpdates).noquote() << QString::fromUtf8(text(*error).data());
        co_return;
    }
    const auto& manifest = std::get<ReleaseManifest>(verified);
    // A correctly signed but older manifest, replayed, must not lift a required update or
    // offer an older release: the newest one accepted stands.
    if (const auto known = cachedManifest(defaults_); known && isOlder(manifest, *known)) {
        setError(std::string(kOlderReleaseText));
        qCWarning(lcUpdates).noquote()
            << "Ignored the release server's manifest for build" << manifest.build
            << "published before the one accepted, build" << known->build;
        co_return;
    }
    defaults_.setValue(kManifestKey, QString::fromStdString(manifest.toJson().dump()));
    setError(std::nullopt);
    setDecision(manifest);
}

void UpdateChecker::setDecision(std::optional<ReleaseManifest> manifest) {
    auto decided = UpdateDecision::decide(manifest, options_.currentBuild);
    if (decided == decision_)
        return;
    decision_ = std::move(decided);
    qCInfo(lcUpdates).noquote() << "Update decision:"
                                << QString::fromUtf8(rawValue(decision_.kind).data());
    emit decisionChanged();
}

void UpdateChecker::setError(std::optional<std::string> error) {
    if (error == lastError_)
        return;
    lastError_ = std::move(error);
    emit errorChanged();
}

QCoro::Task<Result<std::filesystem::path>> UpdateChecker::download(std::filesystem::path folder) {
    if (!decision_.manifest || !transport_)
        co_return Failure{"There is no update to download."};
    const ReleaseManifest manifest = *decision_.manifest;
    QPointer<UpdateChecker> self(this);
    const QUrl url(QString::fromStdString(manifest.downloadURL));
    // A release is larger than an answer of the API, and is held in memory to be checked.
    common::HttpCall call{"GET", url, {}, {}, std::chrono::milliseconds(600'000), 1ll << 30};
    const auto answer = co_await transport_->send(std::move(call));
    if (!self)
        co_return Failure{"Ravo is quitting."};
    if (!answer || answer->status != 200)
        co_return Failure{"The update could not be downloaded."};
    const std::string bytes = answer->body.toStdString();
    if (UpdateVerifier::sha256(bytes) != manifest.sha256) {
        qCWarning(lcUpdates) << "Downloaded update does not match its checksum";
        co_return Failure{std::string(text(UpdateError::checksumMismatch))};
    }
    std::string name = url.fileName().toStdString();
    if (name.empty() || name.starts_with('.'))
        name = "ravo-" + manifest.version;
    const auto target = folder / name;
    if (const Status saved = writeFileAtomically(target, bytes); !saved)
        co_return saved.failure();
    co_return target;
}

} // namespace ravo::updates
