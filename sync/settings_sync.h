#pragma once

#include "base/result.h"
#include "base/setting.h"
#include "base/time.h"
#include "sync/core/synced_settings.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>

class QFileSystemWatcher;
class QSettings;
class QTimer;

namespace ravo::common {
class ContinuousTimer;
}

namespace ravo::sync {

class SyncedSettingsSource;
struct SyncedSettingsFile;

// How an upload went, decided on the pool thread from the file as it was.
struct UploadOutcome {
    enum class Kind { written, busy, failed, newerThere } kind = Kind::written;
    std::string error; // failed: the user's explanation
};

// Keeps the synced settings the same on the user's computers through Ravo/settings.json in a
// folder that a sync client shares. A local change goes up two seconds after the last of a
// burst; a newer file coming down is applied; the same moment on both sides changes nothing.
class SettingsSync : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kEnabledKey = "iCloudSettingsSyncEnabled";
    static constexpr const char* kFolderKey = "settingsSyncFolder";
    // A typed folder as it is stored (absolute), or what is wrong with it.
    static Result<std::string> checkedFolder(std::string_view typed);
    static constexpr Setting kEnabled{kEnabledKey, Setting::Kind::flag,
                                      "settings synced through a folder"};
    static constexpr Setting kFolder{kFolderKey,
                                     Setting::Kind::text,
                                     "the synced folder that holds Ravo/settings.json",
                                     false,
                                     false,
                                     {},
                                     Setting::Store::app,
                                     {},
                                     &SettingsSync::checkedFolder};
    static constexpr const char* kDeviceKey = "settingsSyncDeviceID";
    static constexpr const char* kChangedAtKey = "settingsChangedAt";
    static constexpr const char* kSyncedAtKey = "settingsSyncedAt";
    static constexpr const char* kExplanation =
        "Websites, tray items, alerts and session tracking are saved to Ravo/settings.json in "
        "the folder below and restored on your other computers. The Telegram bot token stays "
        "in this computer's secret store.";

    struct Options {
        std::chrono::milliseconds uploadDelay{2000};
        // How often the file is read again when no change was noticed.
        std::chrono::milliseconds pollInterval{30'000};
        std::function<TimePoint()> now = Clock::now;
        std::chrono::milliseconds busyRetry{500};
    };

    SettingsSync(QSettings& defaults, SyncedSettingsSource* source, Options options,
                 QObject* parent = nullptr);
    SettingsSync(QSettings& defaults, SyncedSettingsSource* source, QObject* parent = nullptr)
        : SettingsSync(defaults, source, Options{}, parent) {}
    ~SettingsSync() override;

    void start();
    void stop();

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled);
    // The synced folder the user chose; empty when none.
    std::filesystem::path folder() const;
    Status setFolder(const std::filesystem::path& folder);
    bool isAvailable() const;
    std::filesystem::path fileURL() const;

    const std::optional<TimePoint>& lastSynced() const { return lastSynced_; }
    const std::optional<std::string>& lastError() const { return lastError_; }
    std::string deviceID();

    // One comparison of the local settings with the file, and what follows from it.
    void synchronizeOnce();
    // The source's settings changed; a change that is not ours goes up after the delay.
    void sourceChanged();

signals:
    void changed(); // lastSynced, lastError, the switch or the folder

private:
    void watch();
    // The file is read and written on a pool thread, one step at a time; what comes back is
    // handled here. A step asked for while one runs follows it.
    void upload();
    void afterRead(Result<std::optional<std::string>> text);
    void afterUpload(const UploadOutcome& outcome, const SyncedSettings& sent);
    void next();
    template <typename Work, typename Done> void offThread(Work work, Done done);
    void markSynced();
    void setError(std::optional<std::string> error);
    std::optional<TimePoint> localChangedAt() const;

    QSettings& defaults_;
    SyncedSettingsSource* source_;
    Options options_;
    bool enabled_;
    bool running_ = false;
    bool isApplying_ = false;
    bool ioRunning_ = false;
    bool wantSync_ = false;
    bool wantUpload_ = false;
    std::optional<SyncedSettings> lastKnown_;
    std::optional<TimePoint> lastSynced_;
    std::optional<TimePoint> changedAt_;
    std::optional<std::string> lastError_;
    common::ContinuousTimer* pendingUpload_;
    QTimer* poll_;
    QTimer* settle_;
    QTimer* retry_;
    bool retryingUpload_ = false;
    static constexpr int kTriesAtStop = 10;
    QFileSystemWatcher* watcher_;
};

} // namespace ravo::sync
