#include "common/launch_at_login.h"

#include "common/log_categories.h"
#include "common/login_item.h"

namespace ravo::common {

LaunchAtLogin::LaunchAtLogin(LoginItem* item, bool canManage, QObject* parent)
    : QObject(parent), item_(item), canManage_(canManage), enabled_(item && item->isEnabled()) {}

void LaunchAtLogin::setEnabled(bool enabled) {
    if (!canManage())
        return;
    if (const Status changed = item_->setEnabled(enabled); !changed)
        qCWarning(lcApp).noquote()
            << "Login item change failed:" << QString::fromStdString(changed.error());
    const bool now = item_->isEnabled();
    if (now != enabled_) {
        enabled_ = now;
        emit changed();
    }
}

} // namespace ravo::common
