#pragma once

#include "base/setting.h"
#include "base/time.h"
#include "usage/core/usage_model.h"
#include "usage/process_runner.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <optional>

class QSettings;

namespace ravo::usage {

// Runs Claude Code's `/usage` at most every 120 s, one run at a time, and keeps the last
// good answer (also across restarts) so a failed run still shows numbers.
class ClaudeUsageProbe : public QObject {
    Q_OBJECT
public:
    using Runner = std::function<QCoro::Task<ProcessResult>(
        QString, QStringList, QProcessEnvironment, std::chrono::milliseconds)>;

    ClaudeUsageProbe(QSettings* defaults, std::filesystem::path home, QObject* parent = nullptr);

    static constexpr const char* kEnabledKey = "claudeUsageCommand";
    static constexpr Setting kEnabled{
        kEnabledKey, Setting::Kind::flag,
        "ask Claude Code's /usage for the limits when its status line has not told them"};
    static constexpr const char* kCacheKey = "claudeUsageCache";
    static constexpr double kMinimumInterval = 120.0;
    static constexpr std::chrono::seconds kTimeout{15};

    bool isEnabled() const;
    void setEnabled(bool enabled);
    bool isRetired() const { return isRetired_; }
    // The text of the last failed run, for the settings; nothing after a good one.
    const std::optional<std::string>& lastError() const { return lastError_; }

    QCoro::Task<std::optional<ProviderReading>> reading(TimePoint now);
    std::optional<ProviderReading> cachedReading() const;

    void setRunner(Runner runner) { runner_ = std::move(runner); }

private:
    void storeCache(const ProviderReading& reading);

    QSettings* defaults_;
    std::filesystem::path home_;
    Runner runner_;
    bool isRunning_ = false;
    bool isRetired_ = false;
    std::optional<TimePoint> lastRun_;
    std::optional<std::string> lastError_;
};

} // namespace ravo::usage
