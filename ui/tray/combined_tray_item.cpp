#include "ui/tray/combined_tray_item.h"

#include "metrics/core/metric_summary.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/overview_view.h"
#include "ui/popovers/usage_view.h"
#include "ui/tray/tray_icon_content.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/widgets/popover_window.h"
#include "usage/usage_coordinator.h"

namespace ravo::ui {

using namespace metrics;

CombinedTrayItem::CombinedTrayItem(const Coordinators& coordinators, QMenu* menu, QObject* parent)
    : QObject(parent), coordinators_(coordinators), icon_(new TrayItem("ravo", "Ravo", this)),
      view_(new OverviewView(coordinators.systemMonitor,
                             new UsageView(coordinators.usage, coordinators.sessions))),
      popover_(new PopoverWindow(view_)) {
    icon_->setContextMenu(menu);
    connect(icon_, &TrayItem::activated, this, [this] { popover_->toggleAt(icon_->anchor()); });
    connect(view_->usage(), &UsageView::settingsRequested, this, [this] {
        popover_->hide();
        emit settingsRequested();
    });
    connect(view_->usage(), &UsageView::quitRequested, this, &CombinedTrayItem::quitRequested);
    connect(coordinators_.usage, &usage::UsageCoordinator::snapshotChanged, this,
            &CombinedTrayItem::redraw);
    if (auto* monitor = coordinators_.systemMonitor) {
        connect(monitor, &SystemMonitor::readingChanged, this, &CombinedTrayItem::redraw);
        connect(monitor, &SystemMonitor::formatLocaleChanged, this, &CombinedTrayItem::redraw);
    }
    redraw();
}

CombinedTrayItem::~CombinedTrayItem() {
    delete popover_;
}

void CombinedTrayItem::showPopover() {
    popover_->showAt(icon_->anchor());
}

void CombinedTrayItem::repaint() {
    drawn_.reset();
    redraw();
}

void CombinedTrayItem::redraw() {
    SystemMonitor* monitor = coordinators_.systemMonitor;
    const SystemReading reading =
        monitor ? monitor->reading().value_or(SystemReading{}) : SystemReading{};
    const auto metrics = monitor ? monitor->visibleMetrics() : std::vector<SystemMetric>{};
    const auto& snapshot = coordinators_.usage->snapshot();
    const auto peak = snapshot ? snapshot->peakFraction() : std::nullopt;
    const auto content = TrayIconContent::combined(reading, metrics, peak);
    QString tooltip = "Ravo";
    const auto locale = monitor ? monitor->formatLocale() : FormatLocale::fromEnvironment();
    for (SystemMetric metric : metrics)
        tooltip +=
            QString("\n%1: %2")
                .arg(QString::fromUtf8(displayName(metric).data()),
                     QString::fromStdString(summarizeForLine(reading, metric, locale).value));
    if (peak)
        tooltip += QString("\nAI usage: highest limit %1% used").arg(qRound(*peak * 100));
    icon_->setToolTip(tooltip);
    if (drawn_ == content)
        return; // the same picture: trays repaint on every setIcon
    drawn_ = content;
    icon_->setIcon(TrayIconPainter::gauge(QString::fromStdString(content.label), content.fraction,
                                          content.level, QString::fromStdString(content.first)));
}

} // namespace ravo::ui
