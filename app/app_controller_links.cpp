// The controller and the links handed to Ravo: sign-in callbacks and sessions.
#include "app/app_controller.h"

#include "cloud/cloud_account.h"
#include "sessions/session_tracker.h"

#include <QUrl>

namespace ravo::app {

bool isSignInCallback(const std::string& url) {
    return QUrl(QString::fromStdString(url)).host() == "auth";
}

bool AppController::handleLink(const std::string& url) {
    if (!isSignInCallback(url))
        return sessions_->openSession(url);
    // The callback carries a one-time code, so it is never logged.
    if (cloudAccount_)
        cloudAccount_->finishAppleSignIn(url);
    return false;
}

} // namespace ravo::app
