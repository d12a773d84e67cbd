#include "sync/settings_sync.h"

#include "base/trimmed.h"
#include "common/continuous_timer.h"
#include "common/log_categories.h"
#include "common/settings_values.h"
#include "sync/core/settings_sync_policy.h"
#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "sync/synced_settings_source.h"

#include <QCoreApplication>
#include <QFileSystemWatcher>
#include <QPointer>
#include <QSettings>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QUuid>

namespace ravo::sync {

namespace fs = std::filesystem;

namespace {

std::optional<TimePoint> storedDate(const QSettings& defaults, const char* key) {
    return parseIso8601(defaults.value(key).toString().toStdString());
}

// Dates go into the file to the second, so two computers changing in the same second tie.
TimePoint wholeSeconds(TimePoint time) {
    return std::chrono::floor<std::chrono::seconds>(time);
}

// The upload as one step on a pool thread. The file as it is now decides: one that cannot
// be read, or a newer Ravo's, is never replaced; one newer than this change is taken
// instead of being overwritten; keys this version does not know are kept.
UploadOutcome uploadFile(const fs::path& folder, const SyncedSettingsFile& file, TimePoint now) {
    const auto failedWith = [](const Failure& failure) {
        return UploadOutcome{SyncedFolder::isBusy(failure) ? UploadOutcome::Kind::busy
                                                           : UploadOutcome::Kind::failed,
                             failure.message};
    };
    const auto current = SyncedFolder::read(folder);
    if (!current)
        return failedWith(current.failure());
    if (current->has_value()) {
        const auto remote = SyncedSettingsFile::decode(**current, now);
        if (!remote)
            return {UploadOutcome::Kind::failed, remote.error()};
        if (remote->updatedAt > file.updatedAt)
            return {UploadOutcome::Kind::newerThere, {}};
    }
    if (const Status written = SyncedFolder::write(folder, file.encode(current->value_or("")));
        !written)
        return failedWith(written.failure());
    return {};
}

} // namespace

SettingsSync::SettingsSync(QSettings& defaults, SyncedSettingsSource* source, Options options,
                           QObject* parent)
    : QObject(parent), defaults_(defaults), source_(source), options_(std::move(options)),
      enabled_(common::readFlag(defaults, kEnabled)),
      lastSynced_(storedDate(defaults, kSyncedAtKey)),
      changedAt_(storedDate(defaults, kChangedAtKey)),
      pendingUpload_(new common::ContinuousTimer(this)), poll_(new QTimer(this)),
      settle_(new QTimer(this)), retry_(new QTimer(this)), watcher_(new QFileSystemWatcher(this)) {
    // A lock held elsewhere is never waited on: the same step is tried again shortly.
    retry_->setSingleShot(true);
    retry_->setInterval(options_.busyRetry);
    connect(retry_, &QTimer::timeout, this, [this] {
        if (retryingUpload_)
            upload();
        else
            synchronizeOnce();
    });
    connect(pendingUpload_, &common::ContinuousTimer::timeout, this, &SettingsSync::upload);
    poll_->setInterval(options_.pollInterval);
    poll_->setTimerType(Qt::VeryCoarseTimer);
    connect(poll_, &QTimer::timeout, this, &SettingsSync::synchronizeOnce);
    // A sync client writes in several steps; read once it is done.
    settle_->setSingleShot(true);
    settle_->setInterval(300);
    connect(settle_, &QTimer::timeout, this, &SettingsSync::synchronizeOnce);
    connect(watcher_, &QFileSystemWatcher::directoryChanged, settle_,
            static_cast<void (QTimer::*)()>(&QTimer::start));
    connect(watcher_, &QFileSystemWatcher::fileChanged, settle_,
            static_cast<void (QTimer::*)()>(&QTimer::start));
}

SettingsSync::~SettingsSync() = default;

fs::path SettingsSync::folder() const {
    return defaults_.value(kFolderKey).toString().toStdString();
}

bool SettingsSync::isAvailable() const {
    std::error_code error;
    const fs::path chosen = folder();
    return !chosen.empty() && fs::is_directory(chosen, error);
}

fs::path SettingsSync::fileURL() const {
    return SyncedFolder::settingsFile(folder());
}

std::string SettingsSync::deviceID() {
    QString id = defaults_.value(kDeviceKey).toString();
    if (QUuid::fromString(id).isNull()) {
        id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        defaults_.setValue(kDeviceKey, id);
    }
    return id.toStdString();
}

std::optional<TimePoint> SettingsSync::localChangedAt() const {
    // This instance's own last change, not the file's: another process may have dated a
    // change there that these settings in memory do not hold yet.
    return changedAt_;
}

void SettingsSync::start() {
    // What the app settled on while starting is the baseline; changes count from here on,
    // also while syncing is off.
    if (!lastKnown_)
        lastKnown_ = source_->syncedSettings();
    if (running_ || !enabled_ || !isAvailable())
        return;
    running_ = true;
    watch();
    poll_->start();
    synchronizeOnce();
}

void SettingsSync::stop() {
    // A change waiting to go up goes now rather than not at all (quitting within the two
    // seconds after it, say): here, on this thread, with a few short tries past a busy lock.
    if (running_ && changedAt_ && (pendingUpload_->isActive() || retryingUpload_ || wantUpload_)) {
        pendingUpload_->stop();
        const SyncedSettingsFile file{*changedAt_, deviceID(), source_->syncedSettings()};
        for (int attempt = 0; attempt < kTriesAtStop; ++attempt) {
            const UploadOutcome outcome = uploadFile(folder(), file, options_.now());
            if (outcome.kind != UploadOutcome::Kind::busy) {
                if (outcome.kind == UploadOutcome::Kind::written)
                    markSynced();
                break;
            }
            QThread::msleep(100);
        }
    }
    running_ = false;
    retry_->stop();
    retryingUpload_ = wantUpload_ = wantSync_ = false;
    poll_->stop();
    settle_->stop();
    const QStringList watched = watcher_->files() + watcher_->directories();
    if (!watched.isEmpty())
        watcher_->removePaths(watched);
}

void SettingsSync::watch() {
    const QStringList watched = watcher_->files() + watcher_->directories();
    if (!watched.isEmpty())
        watcher_->removePaths(watched);
    const fs::path file = fileURL();
    for (const fs::path& path : {folder(), file.parent_path(), file}) {
        std::error_code error;
        if (fs::exists(path, error))
            watcher_->addPath(QString::fromStdString(path.string()));
    }
}

void SettingsSync::setEnabled(bool enabled) {
    defaults_.setValue(kEnabledKey, enabled);
    if (enabled == enabled_)
        return;
    enabled_ = enabled;
    emit changed();
    if (enabled)
        start();
    else
        stop();
}

namespace {

constexpr const char* kNoSuchFolder =
    "Choose a folder that exists, inside a folder your sync client keeps.";

} // namespace

Result<std::string> SettingsSync::checkedFolder(std::string_view typed) {
    const std::string text = trimmed(typed);
    if (text.empty())
        return std::string();
    std::error_code error;
    const fs::path folder = fs::absolute(text, error);
    if (error || !fs::is_directory(folder, error))
        return Failure{kNoSuchFolder};
    return folder.string();
}

Status SettingsSync::setFolder(const fs::path& chosen) {
    std::error_code error;
    if (!chosen.empty() && !fs::is_directory(chosen, error))
        return Failure{kNoSuchFolder};
    const bool wasRunning = running_;
    stop();
    defaults_.setValue(kFolderKey, QString::fromStdString(chosen.string()));
    setError(std::nullopt);
    emit changed();
    if (wasRunning || enabled_)
        start();
    return success();
}

template <typename Work, typename Done> void SettingsSync::offThread(Work work, Done done) {
    ioRunning_ = true;
    QPointer<SettingsSync> self(this);
    QThreadPool::globalInstance()->start(
        [self, work = std::move(work), done = std::move(done)]() mutable {
            auto result = work();
            // Back on the application's thread; the sync may be gone by then.
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, done = std::move(done), result = std::move(result)]() mutable {
                    if (!self)
                        return;
                    self->ioRunning_ = false;
                    done(*self, std::move(result));
                },
                Qt::QueuedConnection);
        });
}

void SettingsSync::synchronizeOnce() {
    if (!running_)
        return;
    if (ioRunning_) {
        wantSync_ = true;
        return;
    }
    watch(); // the client may have made the folder or replaced the file
    offThread([folder = folder()] { return SyncedFolder::read(folder); },
              [](SettingsSync& self, Result<std::optional<std::string>> text) {
                  self.afterRead(std::move(text));
              });
}

void SettingsSync::afterRead(Result<std::optional<std::string>> text) {
    if (!running_)
        return;
    if (!text) {
        if (SyncedFolder::isBusy(text.failure()))
            retry_->start(); // someone else writes: look again in a moment
        else
            setError(text.error());
        return next();
    }
    std::optional<SyncedSettingsFile> remote;
    if (text->has_value()) {
        auto decoded = SyncedSettingsFile::decode(**text, options_.now());
        if (!decoded) {
            // The local settings stay as they are, and the file is not overwritten.
            setError(decoded.error());
            qCWarning(lcSync).noquote() << QString::fromStdString(decoded.error());
            return next();
        }
        remote = std::move(decoded).value();
    }
    const SyncedSettings local = source_->syncedSettings();
    switch (SettingsSyncPolicy::decide(local, localChangedAt(), remote)) {
    case SettingsSyncPolicy::Action::apply:
        isApplying_ = true;
        source_->applySyncedSettings(remote->settings);
        lastKnown_ = remote->settings;
        isApplying_ = false;
        markSynced();
        qCInfo(lcSync) << "Applied settings from the sync folder";
        break;
    case SettingsSyncPolicy::Action::upload:
        wantUpload_ = true;
        break;
    case SettingsSyncPolicy::Action::nothing:
        lastKnown_ = local;
        markSynced();
        break;
    }
    next();
}

void SettingsSync::next() {
    if (!running_ || ioRunning_)
        return;
    if (wantUpload_) {
        wantUpload_ = false;
        upload();
    } else if (wantSync_) {
        wantSync_ = false;
        synchronizeOnce();
    }
}

void SettingsSync::sourceChanged() {
    if (isApplying_ || !lastKnown_)
        return;
    const SyncedSettings now = source_->syncedSettings();
    if (lastKnown_ && now == *lastKnown_)
        return;
    lastKnown_ = now;
    changedAt_ = wholeSeconds(options_.now());
    defaults_.setValue(kChangedAtKey, QString::fromStdString(toIso8601(*changedAt_)));
    if (running_)
        pendingUpload_->start(options_.uploadDelay);
}

void SettingsSync::upload() {
    retryingUpload_ = false;
    if (!running_ || !changedAt_)
        return;
    if (ioRunning_) {
        wantUpload_ = true;
        return;
    }
    SyncedSettingsFile file{*changedAt_, deviceID(), source_->syncedSettings()};
    offThread(
        [folder = folder(), file, now = options_.now()] { return uploadFile(folder, file, now); },
        [sent = file.settings](SettingsSync& self, UploadOutcome outcome) {
            self.afterUpload(outcome, sent);
        });
}

void SettingsSync::afterUpload(const UploadOutcome& outcome, const SyncedSettings& sent) {
    if (!running_)
        return;
    switch (outcome.kind) {
    case UploadOutcome::Kind::written:
        lastKnown_ = sent;
        markSynced();
        break;
    case UploadOutcome::Kind::busy:
        retryingUpload_ = true;
        retry_->start();
        break;
    case UploadOutcome::Kind::newerThere:
        wantSync_ = true; // taken instead of being overwritten
        break;
    case UploadOutcome::Kind::failed:
        setError(outcome.error);
        qCWarning(lcSync).noquote()
            << "Settings not uploaded:" << QString::fromStdString(outcome.error);
        break;
    }
    next();
}

void SettingsSync::markSynced() {
    lastSynced_ = options_.now();
    defaults_.setValue(kSyncedAtKey, QString::fromStdString(toIso8601(*lastSynced_)));
    setError(std::nullopt);
    emit changed();
}

void SettingsSync::setError(std::optional<std::string> error) {
    if (error == lastError_)
        return;
    lastError_ = std::move(error);
    emit changed();
}

} // namespace ravo::sync
