#pragma once

#include "base/time.h"
#include "sessions/core/agent_session.h"
#include "sessions/core/hook_installer.h"

#include <QObject>

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ravo::sessions {

// The agent sessions the hook records, newest first, and the switch that installs the hook:
// what the views list, and what they open when the user picks a session.
class SessionTracker : public QObject {
    Q_OBJECT
public:
    struct Services {
        std::function<bool()> isCodexAvailable;
        // Whether Codex still waits for the user to approve Ravo's hooks; nothing if unknown.
        std::function<QCoro::Task<std::optional<bool>>()> checkCodexTrust;
        std::function<TimePoint()> now = Clock::now;
        // Only an installed copy keeps the agents' files pointing at its own ravo-hook.
        bool keepsHooksCurrent = false;
    };

    SessionTracker(HookInstaller& installer, Services services, QObject* parent = nullptr);

    // Reads the switch from the agents' files and the sessions from the store.
    void start();
    void reload();
    // Forgets sessions too old to matter, then reads the store again.
    void prune();
    QCoro::Task<> checkCodexHookTrust();
    // A "ravo://session/..." link: brings its terminal forward, and a finished session
    // disappears once opened. True when the terminal came forward.
    bool openSession(const std::string& url);

    const std::vector<AgentSession>& sessions() const { return sessions_; }
    bool tracksSessions() const { return tracks_; }
    void setTracksSessions(bool enabled);
    const std::optional<std::string>& trackingError() const { return trackingError_; }
    bool codexHooksNeedApproval() const { return codexHooksNeedApproval_; }
    void setCodexHooksNeedApproval(bool value);

signals:
    void sessionsChanged();
    void settingsChanged(); // the switch, its error and the approval flag

private:
    HookInstaller& installer_;
    Services services_;
    std::vector<AgentSession> sessions_;
    bool tracks_ = false;
    bool codexHooksNeedApproval_ = false;
    std::optional<std::string> trackingError_;
};

} // namespace ravo::sessions
