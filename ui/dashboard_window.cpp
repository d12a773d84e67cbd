#include "ui/dashboard_window.h"

#include "app/app_controller.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/popovers/usage_view.h"
#include "ui/settings/update_section.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QGridLayout>
#include <QScrollArea>
#include <QVBoxLayout>

namespace ravo::ui {

DashboardWindow::DashboardWindow(app::AppController* controller, QWidget* parent)
    : QWidget(parent, Qt::Window) {
    setWindowTitle("Ravo");
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);
    auto* content = new QWidget;
    scroll->setWidget(content);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(14);
    layout->addWidget(wrappedLabel(kNoTrayText, Theme::mutedText(palette())));
    if (auto* checker = controller->updateChecker())
        layout->addWidget(new UpdateSection(checker)); // hidden while up to date
    auto* columns = new QGridLayout;
    columns->setHorizontalSpacing(28);
    columns->setVerticalSpacing(18);
    int index = 0;
    if (auto* monitor = controller->systemMonitor()) {
        for (auto metric : monitor->visibleMetrics()) {
            monitor->detailDidOpen(metric); // every detail is on show here
            columns->addWidget(
                new MetricDetailView(monitor, metric,
                                     {controller->connectionWatchdog(), controller->speedTest()}),
                index / 2, index % 2, Qt::AlignTop);
            ++index;
        }
    }
    layout->addLayout(columns);
    layout->addWidget(separator());
    auto* usage = new UsageView(controller);
    layout->addWidget(usage);
    layout->addStretch();
    connect(usage, &UsageView::settingsRequested, this, &DashboardWindow::settingsRequested);
    connect(usage, &UsageView::quitRequested, this, &DashboardWindow::quitRequested);
    resize(760, 820);
}

} // namespace ravo::ui
