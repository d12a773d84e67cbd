#include "ui/tray/usage_tray_item.h"

#include "ui/popovers/usage_view.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/widgets/popover_window.h"
#include "usage/usage_coordinator.h"

#include <QMenu>

namespace ravo::ui {

UsageTrayItem::UsageTrayItem(const Coordinators& coordinators, QObject* parent)
    : QObject(parent), coordinators_(coordinators),
      icon_(new TrayItem("ravo-ai-usage", "Ravo: AI usage", this)),
      view_(new UsageView(coordinators.usage, coordinators.sessions)),
      popover_(new PopoverWindow(view_)) {
    icon_->setContextMenu(buildMenu());
    connect(icon_, &TrayItem::activated, this, [this] { popover_->toggleAt(icon_->anchor()); });
    connect(view_, &UsageView::settingsRequested, this, [this] {
        popover_->hide();
        emit settingsRequested();
    });
    connect(view_, &UsageView::quitRequested, this, &UsageTrayItem::quitRequested);
    connect(coordinators_.usage, &usage::UsageCoordinator::snapshotChanged, this,
            &UsageTrayItem::redraw);
    redraw();
}

UsageTrayItem::~UsageTrayItem() {
    delete popover_;
}

void UsageTrayItem::showPopover() {
    popover_->showAt(icon_->anchor());
}

QMenu* UsageTrayItem::buildMenu() {
    auto* menu = new QMenu;
    menu->addAction("AI usage", this, &UsageTrayItem::showPopover);
    menu->addAction("Refresh now", this, [this] { coordinators_.usage->refresh(); });
    menu->addSeparator();
    menu->addAction("Settings…", this, &UsageTrayItem::settingsRequested);
    menu->addAction("Quit Ravo", this, &UsageTrayItem::quitRequested);
    connect(this, &QObject::destroyed, menu, &QObject::deleteLater);
    return menu;
}

void UsageTrayItem::repaint() {
    drawnKey_.clear();
    redraw();
}

void UsageTrayItem::redraw() {
    const auto& snapshot = coordinators_.usage->snapshot();
    const auto peak = snapshot ? snapshot->peakFraction() : std::nullopt;
    const bool attention = snapshot && snapshot->needsAttention(Clock::now());
    const QString key = QString("%1|%2").arg(peak ? qRound(*peak * 100) : -1).arg(attention);
    QString tooltip = "Ravo: AI usage";
    if (peak)
        tooltip += QString(", highest limit %1% used").arg(qRound(*peak * 100));
    if (attention)
        tooltip += "\nA provider could not be read for a while";
    icon_->setToolTip(tooltip);
    if (key == drawnKey_)
        return;
    drawnKey_ = key;
    icon_->setIcon(TrayIconPainter::usage(peak, attention));
}

} // namespace ravo::ui
