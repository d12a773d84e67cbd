#include "sync/settings_sync.h"

#include "app/log_categories.h"
#include "connectivity/continuous_timer.h"
#include "sync/core/settings_sync_policy.h"
#include "sync/core/synced_folder.h"
#include "sync/core/synced_settings_file.h"
#include "sync/synced_settings_source.h"

#include <QFileSystemWatcher>
#include <QSettings>
#include <QThread>
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

} // namespace

SettingsSync::SettingsSync(QSettings& defaults, SyncedSettingsSource* source, Options options,
                           QObject* parent)
    : QObject(parent), defaults_(defaults), source_(source), options_(std::move(options)),
      enabled_(defaults.value(kEnabledKey, false).toBool()),
      lastSynced_(storedDate(defaults, kSyncedAtKey)),
      changedAt_(storedDate(defaults, kChangedAtKey)),
      pendingUpload_(new connectivity::ContinuousTimer(this)), poll_(new QTimer(this)),
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
    connect(pendingUpload_, &connectivity::ContinuousTimer::timeout, this, &SettingsSync::upload);
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
    // seconds after it, say). A busy lock gets a few short tries.
    if (running_ && (pendingUpload_->isActive() || retryingUpload_)) {
        pendingUpload_->stop();
        for (int attempt = 0; attempt < kTriesAtStop && !upload(); ++attempt)
            QThread::msleep(100);
    }
    running_ = false;
    retry_->stop();
    retryingUpload_ = false;
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

Status SettingsSync::setFolder(const fs::path& chosen) {
    std::error_code error;
    if (!chosen.empty() && !fs::is_directory(chosen, error))
        return Failure{"Choose a folder that exists, inside a folder your sync client keeps."};
    const bool wasRunning = running_;
    stop();
    defaults_.setValue(kFolderKey, QString::fromStdString(chosen.string()));
    setError(std::nullopt);
    emit changed();
    if (wasRunning || enabled_)
        start();
    return success();
}

void SettingsSync::synchronizeOnce() {
    if (!running_)
        return;
    if (isSynchronizing_) {
        resyncRequested_ = true;
        return;
    }
    isSynchronizing_ = true;
    do {
        resyncRequested_ = false;
        watch(); // the client may have made the folder or replaced the file
        const auto text = SyncedFolder::read(folder());
        if (!text) {
            if (SyncedFolder::isBusy(text.failure()))
                retry_->start(); // someone else writes: look again in a moment
            else
                setError(text.error());
            break;
        }
        std::optional<SyncedSettingsFile> remote;
        if (text->has_value()) {
            auto decoded = SyncedSettingsFile::decode(**text, options_.now());
            if (!decoded) {
                // The local settings stay as they are, and the file is not overwritten.
                setError(decoded.error());
                qCWarning(lcSync).noquote() << QString::fromStdString(decoded.error());
                break;
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
            upload();
            break;
        case SettingsSyncPolicy::Action::nothing:
            lastKnown_ = local;
            markSynced();
            break;
        }
    } while (resyncRequested_);
    isSynchronizing_ = false;
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

bool SettingsSync::upload() {
    retryingUpload_ = false;
    if (!running_)
        return true;
    const auto changedAt = localChangedAt();
    if (!changedAt)
        return true;
    // The file as it is now decides: one that cannot be read, or a newer Ravo's, is never
    // replaced; one newer than this change is applied instead of being overwritten.
    const auto current = SyncedFolder::read(folder());
    if (!current)
        return uploadFailed(current.failure());
    if (current->has_value()) {
        const auto remote = SyncedSettingsFile::decode(**current, options_.now());
        if (!remote) {
            setError(remote.error());
            qCWarning(lcSync).noquote()
                << "Settings not uploaded:" << QString::fromStdString(remote.error());
            return true;
        }
        if (remote->updatedAt > *changedAt) {
            QTimer::singleShot(0, this, &SettingsSync::synchronizeOnce);
            return true;
        }
    }
    const SyncedSettingsFile file{*changedAt, deviceID(), source_->syncedSettings()};
    const std::string text = file.encode(current->value_or(""));
    if (const Status written = SyncedFolder::write(folder(), text); !written)
        return uploadFailed(written.failure());
    lastKnown_ = file.settings;
    markSynced();
    return true;
}

bool SettingsSync::uploadFailed(const Failure& failure) {
    if (SyncedFolder::isBusy(failure)) {
        retryingUpload_ = true;
        retry_->start();
        return false;
    }
    setError(failure.message);
    qCWarning(lcSync).noquote() << "Settings upload failed:"
                                << QString::fromStdString(failure.message);
    return true;
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
