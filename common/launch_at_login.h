#pragma once

#include <QObject>

namespace ravo::common {

class LoginItem;

// The "Launch at login" switch over the desktop's login item. Only an installed copy may
// change it: a build-tree copy must not register itself to start at login.
class LaunchAtLogin : public QObject {
    Q_OBJECT
public:
    LaunchAtLogin(LoginItem* item, bool canManage, QObject* parent = nullptr);

    bool isEnabled() const { return enabled_; }
    bool canManage() const { return canManage_ && item_; }
    void setEnabled(bool enabled);

signals:
    void changed();

private:
    LoginItem* item_;
    bool canManage_;
    bool enabled_;
};

} // namespace ravo::common
