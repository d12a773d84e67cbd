#include "ui/tray/websites_tray_item.h"

#include "cloud/core/websites_overview.h"
#include "cloud/website_monitor.h"
#include "ui/popovers/websites_view.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/widgets/popover_window.h"

#include <QMenu>

namespace ravo::ui {

WebsitesTrayItem::WebsitesTrayItem(cloud::WebsiteMonitor* monitor, QObject* parent)
    : QObject(parent), monitor_(monitor),
      icon_(new TrayItem("ravo-websites", "Ravo: Websites", this)),
      view_(new WebsitesView(monitor)), popover_(new PopoverWindow(view_)) {
    auto* menu = new QMenu;
    menu->addAction("Websites", this, &WebsitesTrayItem::showPopover);
    menu->addAction("Check now", this, [this] { monitor_->refresh(); });
    menu->addSeparator();
    menu->addAction("Settings…", this, &WebsitesTrayItem::settingsRequested);
    menu->addAction("Quit Ravo", this, &WebsitesTrayItem::quitRequested);
    connect(this, &QObject::destroyed, menu, &QObject::deleteLater);
    icon_->setContextMenu(menu);
    connect(icon_, &TrayItem::activated, this, [this] { popover_->toggleAt(icon_->anchor()); });
    connect(view_, &WebsitesView::settingsRequested, this, [this] {
        popover_->hide();
        emit settingsRequested();
    });
    connect(monitor_, &cloud::WebsiteMonitor::changed, this, &WebsitesTrayItem::redraw);
    redraw();
}

WebsitesTrayItem::~WebsitesTrayItem() {
    delete popover_;
}

void WebsitesTrayItem::showPopover() {
    popover_->showAt(icon_->anchor());
}

void WebsitesTrayItem::repaint() {
    drawnKey_.clear();
    redraw();
}

void WebsitesTrayItem::redraw() {
    const auto overview = cloud::WebsitesOverview::of(monitor_->sites(), monitor_->states());
    if (const bool wanted = !monitor_->sites().empty(); wanted != wanted_) {
        wanted_ = wanted;
        emit wantedChanged();
    }
    icon_->setToolTip("Ravo: websites\n" + QString::fromStdString(overview.summary));
    const QString key =
        QString("%1|%2").arg(overview.worst ? int(*overview.worst) : -1).arg(overview.down);
    if (key == drawnKey_)
        return;
    drawnKey_ = key;
    icon_->setIcon(TrayIconPainter::websites(overview.worst, overview.down));
}

} // namespace ravo::ui
