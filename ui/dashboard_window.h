#pragma once

#include "base/setting.h"
#include "metrics/core/system_metric.h"
#include "ui/coordinators.h"
#include "ui/overview_arrangement.h"
#include <QWidget>
#include <vector>

class QCheckBox;
class QGridLayout;
class QTabWidget;
class QSettings;

namespace ravo::ui {

class UsageView;

// Where the desktop has no tray: an overview window with the metrics, the AI usage and the
// websites, and a line that says why it is there. It keeps the size and place the user gives
// it, and closing it quits Ravo unless the user chose to keep Ravo running in the background.
class DashboardWindow : public QWidget {
    Q_OBJECT
public:
    static constexpr const char* kGeometryKey = "overviewWindowGeometry";
    static constexpr const char* kKeepRunningKey = "keepRunningWithoutWindow";
    static constexpr Setting kKeepRunning{
        kKeepRunningKey, Setting::Kind::flag,
        "keep Ravo running when its overview window closes (desktops without a tray)"};
    static constexpr const char* kToldKeepRunningKey = "toldKeepRunningWithoutWindow";

    DashboardWindow(const Coordinators& coordinators, QSettings* settings,
                    QWidget* parent = nullptr);
    ~DashboardWindow() override;

    static constexpr const char* kNoTrayText =
        "This desktop has no system tray, so Ravo shows its items in this window.";
    static constexpr const char* kMachinePage = "This computer";
    static constexpr const char* kAIPage = "AI usage";
    static constexpr const char* kKeepRunningText = "Keep Ravo running when this window is closed";
    static constexpr const char* kStillRunningText =
        "Ravo keeps running in the background. Run ravo again to bring this window back.";

signals:
    void settingsRequested();
    void quitRequested();
    // Closed with Ravo kept running; shown once, with kStillRunningText.
    void keptRunning(bool firstTime);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void saveGeometry();
    void arrange(const OverviewArrangement& arrangement);

    QSettings* settings_;
    QCheckBox* keepRunning_;
    std::vector<metrics::SystemMetric> metrics_;
    std::vector<QWidget*> gauges_;       // one a metric, in metrics_' order
    std::vector<QWidget*> machinePages_; // the gauges' pages, one when side by side
    std::vector<QGridLayout*> grids_;    // each page's grid
    QWidget* ai_ = nullptr;
    UsageView* usage_ = nullptr;
    QSize room_;
    QWidget* sides_ = nullptr;    // the machine and the AI column side by side
    QTabWidget* pages_ = nullptr; // or one after the other
};

} // namespace ravo::ui
