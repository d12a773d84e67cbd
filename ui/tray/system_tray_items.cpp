#include "ui/tray/system_tray_items.h"

#include "connectivity/connection_watchdog.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/widgets/popover_window.h"

#include <QMenu>

namespace ravo::ui {

using namespace metrics;

struct SystemTrayItems::Item {
    SystemMetric metric;
    // Led by the item's own title; the rest is the panel's shared actions. Made before the
    // icon that shows it, so it goes after it.
    std::unique_ptr<QMenu> menu;
    std::unique_ptr<TrayItem> icon;
    std::unique_ptr<PopoverWindow> popover; // made on first open
    std::optional<TrayIconContent> drawn;
};

SystemTrayItems::SystemTrayItems(SystemMonitor* monitor, QMenu* sharedMenu,
                                 ConnectionServices connection, QObject* parent)
    : QObject(parent), monitor_(monitor), menu_(sharedMenu), connection_(connection) {
    connect(monitor_, &SystemMonitor::readingChanged, this, &SystemTrayItems::redraw);
    connect(monitor_, &SystemMonitor::formatLocaleChanged, this, &SystemTrayItems::redraw);
    if (connection_.watchdog)
        connect(connection_.watchdog, &connectivity::ConnectionWatchdog::stateChanged, this,
                &SystemTrayItems::redraw);
    connect(monitor_, &SystemMonitor::isSuspendedChanged, this, &SystemTrayItems::redraw);
    build();
}

SystemTrayItems::~SystemTrayItems() = default;

void SystemTrayItems::build() {
    const std::vector<SystemMetric> visible = monitor_->visibleMetrics();
    for (std::size_t i = 0; i < visible.size(); ++i) {
        const SystemMetric metric = visible[i];
        auto item = std::make_unique<Item>();
        item->metric = metric;
        item->icon = std::make_unique<TrayItem>(
            QStringLiteral("ravo-") + QString::fromUtf8(rawValue(metric).data()),
            QStringLiteral("Ravo: ") + QString::fromUtf8(displayName(metric).data()));
        item->menu = std::make_unique<QMenu>();
        item->menu->addAction(QString::fromUtf8(displayName(metric).data()), this,
                              [this, metric] { showDetail(metric); });
        item->menu->addSeparator();
        item->menu->addActions(menu_->actions());
        // The shared actions get ready for this copy as they would for the menu itself.
        connect(item->menu.get(), &QMenu::aboutToShow, menu_, &QMenu::aboutToShow);
        item->icon->setContextMenu(item->menu.get());
        connect(item->icon.get(), &TrayItem::activated, this,
                [this, metric] { showDetail(metric); });
        items_.push_back(std::move(item));
    }
    redraw();
}

std::vector<TrayItem*> SystemTrayItems::trayItems() const {
    std::vector<TrayItem*> row;
    for (const auto& item : items_)
        row.push_back(item->icon.get());
    return row;
}

void SystemTrayItems::showDetail(SystemMetric metric) {
    for (auto& item : items_) {
        if (item->metric != metric)
            continue;
        if (!item->popover) {
            item->popover = std::make_unique<PopoverWindow>(
                new MetricDetailView(monitor_, metric, connection_));
            connect(item->popover.get(), &PopoverWindow::closed, this,
                    [this, metric] { monitor_->detailDidClose(metric); });
        }
        if (item->popover->isVisible()) {
            item->popover->hide();
            return;
        }
        monitor_->detailDidOpen(metric);
        item->popover->showAt(item->icon->anchor());
    }
}

void SystemTrayItems::repaint() {
    for (auto& item : items_)
        item->drawn.reset();
    redraw();
}

void SystemTrayItems::redraw() {
    // Paused for an update, the last figures would go stale in plain sight: show none.
    const bool paused = monitor_->isSuspended();
    const SystemReading reading =
        paused ? SystemReading{} : monitor_->reading().value_or(SystemReading{});
    const auto connection =
        connection_.watchdog && !paused ? connection_.watchdog->state() : std::nullopt;
    const FormatLocale locale = monitor_->formatLocale();
    for (auto& item : items_) {
        const auto view = MetricItemView::of(reading, item->metric, connection, locale);
        const TrayIconContent& content = view.icon;
        item->icon->setToolTip(paused ? QString::fromStdString(monitor_->suspendedReason()) +
                                            " (Settings → General)"
                                      : QString::fromStdString(view.tooltip));
        if (item->drawn == content)
            continue; // the same picture: trays repaint on every setIcon
        item->drawn = content;
        ++redraws_;
        const QString label = QString::fromStdString(content.label);
        item->icon->setIcon(
            content.isGauge
                ? TrayIconPainter::gauge(label, content.fraction, content.level,
                                         QString::fromStdString(content.first))
                : TrayIconPainter::text(label, QString::fromStdString(content.first),
                                        QString::fromStdString(content.second), content.level));
    }
}

} // namespace ravo::ui
