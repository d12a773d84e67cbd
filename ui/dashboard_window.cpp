#include "ui/dashboard_window.h"

#include "cloud/website_monitor.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/popovers/usage_view.h"
#include "ui/popovers/websites_view.h"
#include "ui/settings/update_section.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QVBoxLayout>

namespace ravo::ui {

namespace {
constexpr int kColumns = 2;
} // namespace

DashboardWindow::DashboardWindow(const Coordinators& coordinators, QSettings* settings,
                                 QWidget* parent)
    : QWidget(parent, Qt::Window), settings_(settings) {
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
    if (auto* checker = coordinators.updateChecker)
        layout->addWidget(new UpdateSection(checker)); // hidden while up to date
    // The machine on the left, the AI usage beside it: wider than tall, as screens are.
    auto* sides = new QHBoxLayout;
    sides->setSpacing(24);
    auto* columns = new QGridLayout;
    columns->setHorizontalSpacing(24);
    columns->setVerticalSpacing(18);
    int index = 0;
    if (auto* monitor = coordinators.systemMonitor) {
        for (auto metric : monitor->visibleMetrics()) {
            monitor->detailDidOpen(metric); // every detail is on show here
            columns->addWidget(
                new MetricDetailView(monitor, metric,
                                     {coordinators.watchdog, coordinators.speedTest}),
                index / kColumns, index % kColumns, Qt::AlignTop);
            ++index;
        }
    }
    columns->setRowStretch(columns->rowCount(), 1);
    sides->addLayout(columns, 3);
    auto* line = new QFrame;
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    sides->addWidget(line);
    auto* usage = new UsageView(coordinators.usage, coordinators.sessions);
    usage->setMinimumWidth(380);
    auto* usageColumn = new QVBoxLayout;
    usageColumn->addWidget(usage);
    if (auto* monitor = coordinators.websiteMonitor) {
        // What the websites item would show, there while there are sites to watch.
        auto* websites = new WebsitesView(monitor);
        usageColumn->addWidget(websites);
        const auto showWhenWatching = [websites, monitor] {
            websites->setVisible(!monitor->sites().empty());
        };
        showWhenWatching();
        connect(monitor, &cloud::WebsiteMonitor::changed, websites, showWhenWatching);
        connect(websites, &WebsitesView::settingsRequested, this,
                &DashboardWindow::settingsRequested);
    }
    usageColumn->addStretch();
    sides->addLayout(usageColumn, 2);
    layout->addLayout(sides);
    layout->addStretch();
    keepRunning_ = new QCheckBox(kKeepRunningText);
    keepRunning_->setChecked(settings_ && settings_->value(kKeepRunningKey, false).toBool());
    layout->addWidget(keepRunning_);
    connect(keepRunning_, &QCheckBox::toggled, this, [this](bool on) {
        if (settings_)
            settings_->setValue(kKeepRunningKey, on);
    });
    connect(usage, &UsageView::settingsRequested, this, &DashboardWindow::settingsRequested);
    connect(usage, &UsageView::quitRequested, this, &DashboardWindow::quitRequested);

    // The size the user gave it last time; the first time, what the content needs, so
    // nothing scrolls, within the screen.
    if (!settings_ || !restoreGeometry(settings_->value(kGeometryKey).toByteArray())) {
        // Room for wrapped texts, which the hint counts on one line.
        QSize wanted = content->sizeHint() + QSize(4, 40);
        if (const QScreen* screen = QGuiApplication::primaryScreen())
            wanted = wanted.boundedTo(screen->availableGeometry().size() * 9 / 10);
        resize(wanted.expandedTo(QSize(560, 420)));
    }
}

DashboardWindow::~DashboardWindow() {
    saveGeometry();
}

void DashboardWindow::saveGeometry() {
    if (settings_ && isVisible())
        settings_->setValue(kGeometryKey, QWidget::saveGeometry());
}

void DashboardWindow::closeEvent(QCloseEvent* event) {
    saveGeometry();
    event->accept();
    if (!keepRunning_->isChecked()) {
        emit quitRequested();
        return;
    }
    const bool firstTime = settings_ && !settings_->value(kToldKeepRunningKey, false).toBool();
    if (settings_)
        settings_->setValue(kToldKeepRunningKey, true);
    emit keptRunning(firstTime);
}

} // namespace ravo::ui
