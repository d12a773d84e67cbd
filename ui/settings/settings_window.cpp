#include "ui/settings/settings_window.h"

#include "base/paths.h"
#include "common/launch_at_login.h"
#include "metrics/core/metric_source.h"
#include "metrics/system_monitor.h"
#include "sessions/codex_hook_trust_check.h"
#include "sessions/session_tracker.h"
#include "ui/settings/account_tab.h"
#include "ui/settings/alerts_tab.h"
#include "ui/settings/network_tab.h"
#include "ui/settings/setting_switch.h"
#include "ui/settings/settings_texts.h"
#include "ui/settings/sync_tab.h"
#include "ui/settings/system_tab.h"
#include "ui/settings/update_section.h"
#include "ui/settings/websites_tab.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "usage/usage_coordinator.h"

#include <algorithm>

#include <QCheckBox>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QListView>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QUrl>
#include <QVBoxLayout>

namespace ravo::ui {

using namespace metrics;

namespace {

QVBoxLayout* pageLayout(QWidget* page) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(6);
    return layout;
}

void showNote(QLabel* label, const std::optional<std::string>& text) {
    label->setText(text ? QString::fromStdString(*text) : QString());
    label->setVisible(text.has_value());
}

} // namespace

SettingsWindow::SettingsWindow(const Coordinators& coordinators, QWidget* parent)
    : QWidget(parent, Qt::Window), coordinators_(coordinators), pageList_(new QListView),
      pageNames_(new QStandardItemModel(this)), pagesStack_(new QStackedWidget) {
    setWindowTitle("Ravo Settings");
    // The pages do not pass on the height their wrapped texts need at this width.
    setMinimumSize(760, 460);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setSpacing(12);
    pageList_->setModel(pageNames_);
    pageList_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    pageList_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    pageList_->setSpacing(2);
    pageList_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    pageList_->setAccessibleName("Settings pages");
    layout->addWidget(pageList_);
    layout->addWidget(pagesStack_, 1);
    connect(pageList_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid())
                    pagesStack_->setCurrentIndex(current.row());
            });
    addTab(kGeneralTab, generalTab(), "General");
    addTab(kPanelTab, panelTab(), "Panel");
    if (coordinators_.systemMonitor)
        addTab(kSystemTab, new SystemTab(coordinators_.systemMonitor, coordinators_.gaugeAlerts),
               "System");
    addTab(kAITab, aiTab(), "AI");
    addTab(kSessionsTab, sessionsTab(), "Sessions");
    if (auto* watchdog = coordinators_.watchdog)
        addTab(kNetworkTab, new NetworkTab(watchdog, coordinators_.speedTest), "Network");
    addTab(kSyncTab, new SyncTab(coordinators_.settingsSync), "Sync");
    if (coordinators_.cloudAccount) {
        addTab(kAccountTab, new AccountTab(coordinators_), "Account");
        addTab(kWebsitesTab, new WebsitesTab(coordinators_.websiteMonitor), "Websites");
        addTab(kAlertsTab,
               new AlertsTab(coordinators_.alertNotifier, coordinators_.cloudAccount,
                             coordinators_.telegram),
               "Alerts");
    }
    connect(coordinators_.usage, &usage::UsageCoordinator::settingsChanged, this,
            &SettingsWindow::sync);
    connect(coordinators_.sessions, &sessions::SessionTracker::settingsChanged, this,
            &SettingsWindow::sync);
    connect(coordinators_.launchAtLogin, &common::LaunchAtLogin::changed, this,
            &SettingsWindow::sync);
    sync();
}

void SettingsWindow::addTab(Tab tab, QWidget* page, const QString& title) {
    pagesStack_->addWidget(page);
    auto* name = new QStandardItem(title);
    name->setData(static_cast<int>(tab), Qt::UserRole);
    name->setSizeHint(QSize(0, pageList_->fontMetrics().height() + 12));
    pageNames_->appendRow(name);
    // As wide as the longest name, with room for the list's frame and the selection's padding.
    const int wanted = pageList_->fontMetrics().horizontalAdvance(title) + 48;
    pageList_->setFixedWidth(std::max({pageList_->minimumWidth(), wanted, 140}));
    if (pageNames_->rowCount() == 1)
        setCurrentPage(0);
}

QStringList SettingsWindow::pageTitles() const {
    QStringList titles;
    for (int row = 0; row < pageNames_->rowCount(); ++row)
        titles << pageNames_->item(row)->text();
    return titles;
}

int SettingsWindow::currentPage() const {
    return pageList_->currentIndex().row();
}

void SettingsWindow::setCurrentPage(int row) {
    if (row >= 0 && row < pageNames_->rowCount())
        pageList_->setCurrentIndex(pageNames_->index(row, 0));
}

void SettingsWindow::showTab(Tab tab) {
    for (int row = 0; row < pageNames_->rowCount(); ++row)
        if (pageNames_->item(row)->data(Qt::UserRole).toInt() == tab)
            setCurrentPage(row);
    show();
    raise();
    activateWindow();
}

QWidget* SettingsWindow::generalTab() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    launchAtLogin_ = addSettingSwitch(layout, SettingsTexts::kLaunchAtLogin);
    if (!coordinators_.launchAtLogin->canManage()) {
        launchAtLogin_->setEnabled(false);
        QLabel* note =
            wrappedLabel(SettingsTexts::kLoginItemUnavailable, Theme::mutedText(page->palette()));
        note->setContentsMargins(24, 0, 0, 0);
        layout->addWidget(note);
    }
    connect(launchAtLogin_, &QCheckBox::toggled, coordinators_.launchAtLogin,
            &common::LaunchAtLogin::setEnabled);
    if (auto* checker = coordinators_.updateChecker)
        layout->addWidget(new UpdateSection(checker));
    layout->addStretch();
    layout->addWidget(aboutSection());
    return page;
}

QWidget* SettingsWindow::aboutSection() {
    auto* section = new QWidget;
    auto* layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(heading(SettingsTexts::kAbout, 14));
    layout->addWidget(
        wrappedLabel(QString("Version %1 (build %2)").arg(RAVO_VERSION_TEXT).arg(RAVO_BUILD_NUMBER),
                     Theme::mutedText(section->palette())));
    auto* links = new QLabel(SettingsTexts::kAboutLinks);
    links->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(links, &QLabel::linkActivated, this, [](const QString& which) {
        QString file;
        if (which == "readme") {
            const QString packaged =
                QCoreApplication::applicationDirPath() + "/" + RAVO_README_FROM_BINDIR;
            file = QFileInfo::exists(packaged)                ? packaged
                   : QFileInfo::exists(RAVO_README_INSTALLED) ? QString(RAVO_README_INSTALLED)
                                                              : QString(RAVO_README_SOURCE);
        } else if (const auto log = paths::logFile())
            file = QString::fromStdString(log->string());
        QDesktopServices::openUrl(QUrl::fromLocalFile(file));
    });
    layout->addWidget(links);
    return section;
}

QWidget* SettingsWindow::panelTab() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(
        wrappedLabel(SettingsTexts::kPanelHelp, page->palette().color(QPalette::WindowText)));
    auto* row = new QHBoxLayout;
    metrics_ = new QListWidget;
    metrics_->setDragDropMode(QAbstractItemView::InternalMove);
    metrics_->setSpacing(4);
    metrics_->setMinimumHeight(220);
    row->addWidget(metrics_, 1);
    auto* buttons = new QVBoxLayout;
    auto* up = new QPushButton("Move up");
    auto* down = new QPushButton("Move down");
    buttons->addWidget(up);
    buttons->addWidget(down);
    buttons->addStretch();
    row->addLayout(buttons);
    layout->addLayout(row);
    combinedTrayItem_ = addSettingSwitch(layout, SettingsTexts::kCombinedTrayItem,
                                         SettingsTexts::kCombinedTrayItemHelp);
    connect(combinedTrayItem_, &QCheckBox::toggled, this, &SettingsWindow::combinedTrayItemChosen);
    connect(up, &QPushButton::clicked, this, [this] { moveSelectedMetric(-1); });
    connect(down, &QPushButton::clicked, this, [this] { moveSelectedMetric(1); });
    connect(metrics_, &QListWidget::itemChanged, this, &SettingsWindow::storeMetrics);
    connect(metrics_->model(), &QAbstractItemModel::rowsMoved, this, &SettingsWindow::storeMetrics);
    if (SystemMonitor* monitor = coordinators_.systemMonitor) {
        connect(monitor, &SystemMonitor::enabledMetricsChanged, this, &SettingsWindow::syncMetrics);
        connect(monitor, &SystemMonitor::metricOrderChanged, this, &SettingsWindow::syncMetrics);
    }
    syncMetrics();
    return page;
}

QWidget* SettingsWindow::aiTab() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    readsClaudeLimits_ = addSettingSwitch(layout, SettingsTexts::kReadClaudeLimits,
                                          SettingsTexts::kReadClaudeLimitsHelp);
    claudeLimitsError_ = addSettingNote(layout, Theme::errorText(page->palette()));
    asksClaudeCode_ =
        addSettingSwitch(layout, SettingsTexts::kAskClaudeCode, SettingsTexts::kAskClaudeCodeHelp);
    connect(readsClaudeLimits_, &QCheckBox::toggled, coordinators_.usage,
            &usage::UsageCoordinator::setReadsClaudeLimits);
    connect(asksClaudeCode_, &QCheckBox::toggled, coordinators_.usage,
            &usage::UsageCoordinator::setAsksClaudeCodeForUsage);
    layout->addStretch();
    return page;
}

QWidget* SettingsWindow::sessionsTab() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    tracksSessions_ =
        addSettingSwitch(layout, SettingsTexts::kTrackSessions, SettingsTexts::kTrackSessionsHelp);
    sessionError_ = addSettingNote(layout, Theme::errorText(page->palette()));
    codexApproval_ =
        addSettingNote(layout, Theme::levelColor(MetricLevel::warning, page->palette()));
    connect(tracksSessions_, &QCheckBox::toggled, coordinators_.sessions,
            &sessions::SessionTracker::setTracksSessions);
    layout->addStretch();
    return page;
}

void SettingsWindow::sync() {
    // The controller decides; the switches show what it ended up with.
    const QSignalBlocker a(launchAtLogin_), b(readsClaudeLimits_), c(asksClaudeCode_),
        d(tracksSessions_);
    launchAtLogin_->setChecked(coordinators_.launchAtLogin->isEnabled());
    readsClaudeLimits_->setChecked(coordinators_.usage->readsClaudeLimits());
    asksClaudeCode_->setChecked(coordinators_.usage->asksClaudeCodeForUsage());
    tracksSessions_->setChecked(coordinators_.sessions->tracksSessions());
    showNote(claudeLimitsError_, coordinators_.usage->claudeLimitsError());
    showNote(sessionError_, coordinators_.sessions->trackingError());
    showNote(codexApproval_, coordinators_.sessions->codexHooksNeedApproval()
                                 ? std::optional<std::string>(sessions::kCodexApprovalMessage)
                                 : std::nullopt);
}

void SettingsWindow::syncMetrics() {
    SystemMonitor* monitor = coordinators_.systemMonitor;
    if (!monitor)
        return;
    bool same = metrics_->count() == static_cast<int>(monitor->metricOrder().size());
    for (int i = 0; same && i < metrics_->count(); ++i) {
        const auto metric = monitor->metricOrder()[static_cast<std::size_t>(i)];
        same = metrics_->item(i)->data(Qt::UserRole).toInt() == static_cast<int>(metric) &&
               (metrics_->item(i)->checkState() == Qt::Checked) == monitor->isShown(metric);
    }
    if (same)
        return; // our own change coming back; rebuilding now would pull the list from under a drag
    const QSignalBlocker blocker(metrics_);
    metrics_->clear();
    for (SystemMetric metric : monitor->metricOrder()) {
        QString text = QString::fromUtf8(displayName(metric).data());
        const auto reason = missingSourceReason(metric);
        if (reason && monitor->missingSources().contains(metric)) {
            // Say why it is off, so an empty item is not taken for a fault.
            text += QStringLiteral(" — ") +
                    QString::fromUtf8(reason->data(), qsizetype(reason->size()));
        }
        auto* item = new QListWidgetItem(text);
        item->setData(Qt::UserRole, static_cast<int>(metric));
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled);
        item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
        item->setCheckState(monitor->isShown(metric) ? Qt::Checked : Qt::Unchecked);
        metrics_->addItem(item);
    }
}

void SettingsWindow::setCombinedTrayItem(bool combined) {
    if (!combinedTrayItem_)
        return;
    const QSignalBlocker blocker(combinedTrayItem_);
    combinedTrayItem_->setChecked(combined);
}

void SettingsWindow::moveSelectedMetric(int step) {
    const int row = metrics_->currentRow();
    const int target = row + step;
    if (row < 0 || target < 0 || target >= metrics_->count())
        return;
    {
        const QSignalBlocker blocker(metrics_);
        QListWidgetItem* item = metrics_->takeItem(row);
        metrics_->insertItem(target, item);
        metrics_->setCurrentRow(target);
    }
    storeMetrics();
}

void SettingsWindow::storeMetrics() {
    SystemMonitor* monitor = coordinators_.systemMonitor;
    if (!monitor)
        return;
    std::vector<SystemMetric> order;
    std::set<SystemMetric> enabled;
    for (int i = 0; i < metrics_->count(); ++i) {
        const auto metric =
            static_cast<SystemMetric>(metrics_->item(i)->data(Qt::UserRole).toInt());
        order.push_back(metric);
        if (metrics_->item(i)->checkState() == Qt::Checked)
            enabled.insert(metric);
    }
    monitor->setMetricOrder(order);
    monitor->setEnabledMetrics(enabled);
}

} // namespace ravo::ui
