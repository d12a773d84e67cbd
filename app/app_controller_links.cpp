// The controller and the links handed to Ravo: sign-in callbacks and sessions.
#include "app/app_controller.h"

#include "app/platform/session_window.h"
#include "app/session_link.h"
#include "cloud/cloud_account.h"
#include "common/log_categories.h"
#include "sessions/core/session_store.h"

#include <QUrl>

namespace ravo::app {

bool AppController::isSignInCallback(const std::string& url) {
    return QUrl(QString::fromStdString(url)).host() == "auth";
}

bool AppController::handleLink(const std::string& url) {
    if (!isSignInCallback(url))
        return openSession(url);
    // The callback carries a one-time code, so it is never logged.
    if (cloudAccount_)
        cloudAccount_->finishAppleSignIn(url);
    return false;
}

bool AppController::openSession(const std::string& url) {
    const auto link = SessionLink::parse(url);
    if (!link) {
        qCWarning(lcApp).noquote() << "Not a session link:" << QString::fromStdString(url);
        return false;
    }
    const auto session = sessions::SessionStore::load(link->provider, link->sessionID);
    const auto place = sessions::SessionStore::loadPlace(link->provider, link->sessionID);
    const bool broughtForward = place && bringSessionForward(*place);
    if (session && session->state == sessions::AgentSession::State::done) {
        if (const Status removed =
                sessions::SessionStore::apply(sessions::Remove{}, link->provider, link->sessionID);
            !removed)
            qCWarning(lcApp).noquote() << QString::fromStdString(removed.error());
        reloadSessions();
    }
    return broughtForward;
}

} // namespace ravo::app
