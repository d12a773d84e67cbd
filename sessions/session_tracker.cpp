#include "sessions/session_tracker.h"

#include "common/log_categories.h"
#include "base/group_settings.h"
#include "sessions/core/session_list.h"
#include "sessions/core/session_store.h"
#include "sessions/core/session_tracking.h"
#include "sessions/platform/session_window.h"
#include "sessions/session_link.h"

#include <QPointer>
#include <QStringList>

namespace ravo::sessions {

SessionTracker::SessionTracker(HookInstaller& installer, Services services, QObject* parent)
    : QObject(parent), installer_(installer), services_(std::move(services)),
      codexHooksNeedApproval_(GroupSettings::readBool(GroupSettings::kCodexHooksNeedApproval)) {}

void SessionTracker::start() {
    const bool installed = installer_.isInstalled();
    if (installed != SessionTracking::isOn())
        GroupSettings::write(GroupSettings::kTracksSessions, installed);
    tracks_ = installed;
    if (tracks_ && services_.keepsHooksCurrent) {
        const auto rewritten = installer_.reconcile();
        if (!rewritten) {
            qCWarning(lcApp).noquote()
                << "Hook change failed:" << QString::fromStdString(rewritten.error());
        } else if (!rewritten.value().empty()) {
            QStringList names;
            for (auto provider : rewritten.value())
                names << QString::fromUtf8(usage::rawValue(provider).data());
            qCInfo(lcApp).noquote() << "Hooks updated for" << names.join(", ");
        }
    }
    reload();
}

void SessionTracker::reload() {
    auto loaded = SessionList::newestFirst(SessionStore::loadAll());
    if (loaded == sessions_)
        return;
    sessions_ = std::move(loaded);
    QStringList states;
    for (const auto& session : sessions_)
        states << QString::fromStdString(session.id() + "=" + std::string(rawValue(session.state)));
    qCInfo(lcApp).noquote() << "Sessions:"
                            << (states.isEmpty() ? QStringLiteral("none") : states.join(' '));
    emit sessionsChanged();
}

void SessionTracker::prune() {
    SessionStore::prune(services_.now());
    reload();
}

QCoro::Task<> SessionTracker::checkCodexHookTrust() {
    if (!tracks_ || !services_.isCodexAvailable || !services_.isCodexAvailable() ||
        !services_.checkCodexTrust) {
        setCodexHooksNeedApproval(false);
        co_return;
    }
    QPointer<SessionTracker> self(this);
    const auto needsApproval = co_await services_.checkCodexTrust();
    if (self && needsApproval)
        setCodexHooksNeedApproval(*needsApproval);
}

bool SessionTracker::openSession(const std::string& url) {
    const auto link = SessionLink::parse(url);
    if (!link) {
        qCWarning(lcApp).noquote() << "Not a session link:" << QString::fromStdString(url);
        return false;
    }
    const auto session = SessionStore::load(link->provider, link->sessionID);
    const auto place = SessionStore::loadPlace(link->provider, link->sessionID);
    const bool broughtForward = place && bringSessionForward(*place);
    if (session && session->state == AgentSession::State::done) {
        if (const Status removed = SessionStore::apply(Remove{}, link->provider, link->sessionID);
            !removed)
            qCWarning(lcApp).noquote() << QString::fromStdString(removed.error());
        reload();
    }
    return broughtForward;
}

void SessionTracker::setTracksSessions(bool enabled) {
    const Status changed =
        enabled ? SessionTracking::turnOn(installer_) : SessionTracking::turnOff(installer_);
    if (!changed) {
        trackingError_ = changed.error();
        tracks_ = !enabled; // a switch that failed stays where it was
        emit settingsChanged();
        return;
    }
    trackingError_.reset();
    tracks_ = enabled;
    emit settingsChanged();
    reload();
    checkCodexHookTrust();
}

void SessionTracker::setCodexHooksNeedApproval(bool value) {
    if (value == codexHooksNeedApproval_)
        return;
    GroupSettings::write(GroupSettings::kCodexHooksNeedApproval, value);
    codexHooksNeedApproval_ = value;
    emit settingsChanged();
}

} // namespace ravo::sessions
