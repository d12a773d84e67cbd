#pragma once

#include "base/result.h"
#include "base/setting.h"
#include "base/time.h"
#include "usage/core/usage_model.h"

#include <QObject>

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>
#include <string>

class QSettings;

namespace ravo::usage {

class ClaudeUsageProbe;
class UsageRefresher;

// What the views show of the subscriptions' limits: the last snapshot, refreshed one pass at
// a time (asking during a pass runs one more after it), and the two ways Ravo learns
// Claude's limits: Claude Code's status line, and asking Claude Code itself.
class UsageCoordinator : public QObject {
    Q_OBJECT
public:
    // Claude Code's status line, which the agents' files hold.
    struct StatusLine {
        std::function<bool()> isCurrent;
        std::function<Status(bool installed)> change;
    };
    struct Services {
        UsageRefresher* refresher = nullptr;
        ClaudeUsageProbe* probe = nullptr;
        StatusLine statusLine;
        std::function<TimePoint()> now = Clock::now;
    };

    static constexpr double kOutdatedSeconds = 120.0;
    static constexpr const char* kClaudeStatusLineKey = "claudeStatusLineEnabled";
    static constexpr Setting kClaudeStatusLine{
        kClaudeStatusLineKey,
        Setting::Kind::flag,
        "read the Claude limits through Claude Code's status line",
        false,
        true,
        {},
        Setting::Store::app,
        "Use ravo statusline install or ravo statusline uninstall."};

    UsageCoordinator(QSettings& defaults, Services services, QObject* parent = nullptr);

    QCoro::Task<> refresh();
    // After a wake-up: only when the oldest figures are older than two minutes.
    QCoro::Task<> refreshIfOutdated();
    // The status line is on but gone from Claude Code's settings: put it back.
    void restoreStatusLine();

    const std::optional<UsageSnapshot>& snapshot() const { return snapshot_; }
    bool isRefreshing() const { return isRefreshing_; }
    int refreshCount() const { return refreshCount_; }
    bool readsClaudeLimits() const { return readsClaudeLimits_; }
    void setReadsClaudeLimits(bool enabled);
    const std::optional<std::string>& claudeLimitsError() const { return claudeLimitsError_; }
    bool asksClaudeCodeForUsage() const;
    void setAsksClaudeCodeForUsage(bool enabled);

signals:
    void snapshotChanged();
    void settingsChanged(); // either switch, or the status line's error

private:
    QSettings& defaults_;
    Services services_;
    std::optional<UsageSnapshot> snapshot_;
    bool isRefreshing_ = false;
    bool refreshRequested_ = false;
    int refreshCount_ = 0;
    bool readsClaudeLimits_ = true;
    std::optional<std::string> claudeLimitsError_;
};

} // namespace ravo::usage
