#pragma once

#include "metrics/core/system_metric.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/tray/tray_icon_content.h"

#include <QObject>

#include <map>
#include <memory>
#include <vector>

class QMenu;
class QSystemTrayIcon;

namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

class PopoverWindow;
class TrayItem;

// One tray item per enabled metric, in the user's order, each drawn from the latest reading
// and opening the metric's detail. The panel shows them, with the rest of its row, and makes
// them anew when the user's choice changes.
class SystemTrayItems : public QObject {
    Q_OBJECT
public:
    SystemTrayItems(metrics::SystemMonitor* monitor, QMenu* sharedMenu,
                    ConnectionServices connection = {}, QObject* parent = nullptr);
    ~SystemTrayItems() override;

    int count() const { return static_cast<int>(items_.size()); }
    // Left to right, not yet shown.
    std::vector<TrayItem*> trayItems() const;
    int redraws() const { return redraws_; }
    void showDetail(metrics::SystemMetric metric);
    // Draws the icon again even if the figures are the same: for a panel whose colour changed.
    void repaint();

private:
    struct Item;
    void build();
    void redraw();

    metrics::SystemMonitor* monitor_;
    QMenu* menu_;
    ConnectionServices connection_;
    std::vector<std::unique_ptr<Item>> items_;
    int redraws_ = 0;
};

} // namespace ravo::ui
