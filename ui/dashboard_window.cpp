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
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <vector>

namespace ravo::ui {

namespace {

constexpr int kMargin = 16;
constexpr int kSpacing = 18;
constexpr int kRoomToGrow = 48;

// What the window may take of the screen, leaving the window manager room for its title.
QSize roomOnScreen() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QSize available = screen ? screen->availableGeometry().size() : QSize(1024, 600);
    return available - QSize(0, 36);
}

} // namespace

DashboardWindow::DashboardWindow(const Coordinators& coordinators, QSettings* settings,
                                 QWidget* parent)
    : QWidget(parent, Qt::Window), settings_(settings) {
    setWindowTitle("Ravo");
    const QSize room = roomOnScreen();
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);
    auto* content = new QWidget;
    scroll->setWidget(content);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(14);
    layout->addWidget(wrappedLabel(kNoTrayText, Theme::mutedText(palette())));
    if (auto* checker = coordinators.updateChecker)
        layout->addWidget(new UpdateSection(checker)); // hidden while up to date
    if (auto* monitor = coordinators.systemMonitor) {
        for (auto metric : monitor->visibleMetrics()) {
            monitor->detailDidOpen(metric); // every detail is on show here
            metrics_.push_back(metric);
            gauges_.push_back(new MetricDetailView(
                monitor, metric, {coordinators.watchdog, coordinators.speedTest}));
        }
    }
    ai_ = new QWidget;
    auto* aiColumn = new QVBoxLayout(ai_);
    aiColumn->setContentsMargins(0, 0, 0, 0);
    auto* usage = new UsageView(coordinators.usage, coordinators.sessions);
    usage_ = usage;
    room_ = room;
    aiColumn->addWidget(usage);
    if (auto* monitor = coordinators.websiteMonitor) {
        // What the websites item would show, there while there are sites to watch.
        auto* websites = new WebsitesView(monitor);
        aiColumn->addWidget(websites);
        const auto showWhenWatching = [websites, monitor] {
            websites->setVisible(!monitor->sites().empty());
        };
        showWhenWatching();
        connect(monitor, &cloud::WebsiteMonitor::changed, websites, showWhenWatching);
        connect(websites, &WebsitesView::settingsRequested, this,
                &DashboardWindow::settingsRequested);
    }
    aiColumn->addStretch();

    // The machine on the left, the AI usage beside it: wider than tall, as screens are.
    sides_ = new QWidget;
    auto* sides = new QHBoxLayout(sides_);
    sides->setContentsMargins(0, 0, 0, 0);
    sides->setSpacing(kSpacing);
    auto* line = new QFrame;
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    sides->addWidget(line);
    layout->addWidget(sides_);
    // On a small screen each side gets the whole window in turn.
    pages_ = new QTabWidget;
    pages_->setDocumentMode(true);
    layout->addWidget(pages_);
    layout->addStretch();
    keepRunning_ = new QCheckBox(kKeepRunningText);
    keepRunning_->setChecked(settings_ && settings_->value(kKeepRunningKey, false).toBool());
    layout->addWidget(keepRunning_);
    const auto measure = [this, content](const OverviewArrangement& arrangement) {
        arrange(arrangement);
        // Layouts keep what they measured last; this one has just changed under them.
        for (QGridLayout* grid : grids_)
            grid->invalidate();
        for (QWidget* page : machinePages_)
            page->layout()->invalidate();
        for (QWidget* widget : {ai_, sides_, static_cast<QWidget*>(pages_), content})
            widget->layout() ? widget->layout()->invalidate() : widget->updateGeometry();
        content->layout()->activate();
        QSize wanted = content->sizeHint().expandedTo(content->minimumSizeHint());
        if (content->hasHeightForWidth())
            wanted.setHeight(std::max(wanted.height(), content->heightForWidth(wanted.width())));
        // The process lists fill in with the first sample, after this is measured.
        return wanted + QSize(0, kRoomToGrow);
    };
    const OverviewArrangement chosen =
        arrangeOverview(static_cast<int>(gauges_.size()), measure, room);
    const QSize wanted = measure(chosen);
    connect(keepRunning_, &QCheckBox::toggled, this, [this](bool on) {
        if (settings_)
            settings_->setValue(kKeepRunningKey, on);
    });
    connect(usage, &UsageView::settingsRequested, this, &DashboardWindow::settingsRequested);
    connect(usage, &UsageView::quitRequested, this, &DashboardWindow::quitRequested);

    // The size the user gave it last time; the first time, what the content needs, so
    // nothing scrolls, within the screen.
    if (!settings_ || !restoreGeometry(settings_->value(kGeometryKey).toByteArray()))
        resize(wanted.boundedTo(room).expandedTo(QSize(480, 360)));
}

void DashboardWindow::arrange(const OverviewArrangement& arrangement) {
    for (QGridLayout* grid : grids_)
        for (QWidget* gauge : gauges_)
            grid->removeWidget(gauge);
    const int columns = std::max(1, arrangement.columns);
    const int perPage = arrangement.rowsPerPage > 0 ? columns * arrangement.rowsPerPage
                                                    : std::max<int>(1, gauges_.size());
    const int pageCount = std::max<int>(1, (gauges_.size() + perPage - 1) / perPage);
    while (static_cast<int>(machinePages_.size()) < pageCount) {
        auto* page = new QWidget;
        auto* column = new QVBoxLayout(page);
        column->setContentsMargins(0, 0, 0, 0);
        auto* grid = new QGridLayout;
        grid->setHorizontalSpacing(kSpacing);
        grid->setVerticalSpacing(kSpacing);
        column->addLayout(grid);
        column->addStretch();
        machinePages_.push_back(page);
        grids_.push_back(grid);
    }
    for (int i = 0; i < static_cast<int>(gauges_.size()); ++i)
        grids_[i / perPage]->addWidget(gauges_[i], (i % perPage) / columns, i % columns,
                                       Qt::AlignTop);
    pages_->clear();
    for (QWidget* page : machinePages_)
        page->hide();
    auto* sides = static_cast<QHBoxLayout*>(sides_->layout());
    if (arrangement.sideBySide) {
        sides->insertWidget(0, machinePages_.front(), 3);
        sides->addWidget(ai_, 2);
        machinePages_.front()->show();
    } else {
        for (int page = 0; page < pageCount; ++page) {
            // Several pages are named by their gauges, so the one wanted is found at once.
            QStringList names;
            for (int i = page * perPage; i < std::min<int>(gauges_.size(), (page + 1) * perPage);
                 ++i)
                names << QString::fromUtf8(std::string(metrics::displayName(metrics_[i])).c_str());
            pages_->addTab(machinePages_[page],
                           pageCount == 1 ? QString(kMachinePage) : names.join(" · "));
        }
        pages_->addTab(ai_, kAIPage);
    }
    // A page of its own has the window's width: the providers can share it.
    usage_->setProvidersSideBySide(!arrangement.sideBySide &&
                                   room_.width() >= 2 * usage_->minimumWidth() + 3 * kMargin);
    sides_->setVisible(arrangement.sideBySide);
    pages_->setVisible(!arrangement.sideBySide);
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
