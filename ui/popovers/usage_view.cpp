#include "ui/popovers/usage_view.h"

#include "metrics/core/metric_level.h"
#include "sessions/core/session_list.h"
#include "sessions/core/session_settings.h"
#include "sessions/session_link.h"
#include "sessions/session_tracker.h"
#include "ui/theme.h"
#include "ui/widgets/clickable_row.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/popover_window.h"
#include "ui/widgets/usage_bar.h"
#include "ui/widgets/visible_refresh.h"
#include "usage/core/usage_text.h"
#include "usage/usage_coordinator.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace ravo::ui {

using namespace usage;

namespace {

QColor stateColor(sessions::AgentSession::State state, const QPalette& palette) {
    switch (state) {
    case sessions::AgentSession::State::running:
        return palette.color(QPalette::Highlight);
    case sessions::AgentSession::State::waiting:
        return Theme::levelColor(metrics::MetricLevel::warning, palette);
    case sessions::AgentSession::State::done:
        return Theme::doneColor(palette);
    }
    return Theme::mutedText(palette);
}

QString stateText(sessions::AgentSession::State state) {
    switch (state) {
    case sessions::AgentSession::State::running:
        return "Running";
    case sessions::AgentSession::State::waiting:
        return "Waiting for you";
    case sessions::AgentSession::State::done:
        return "Done";
    }
    return {};
}

QWidget* windowRow(const UsageWindow& window, TimePoint now, const QPalette& palette) {
    auto* row = new QWidget;
    auto* grid = new QGridLayout(row);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    const double fraction = std::clamp(window.usedPercent / 100.0, 0.0, 1.0);
    auto* label = new QLabel(QString::fromStdString(window.label()));
    label->setMinimumWidth(96);
    auto* bar = new UsageBar;
    bar->setFraction(fraction, Theme::levelColor(metrics::levelFor(fraction), palette));
    auto* percent = new QLabel(QString::fromStdString(UsageText::percentUsed(window)));
    percent->setMinimumWidth(40);
    percent->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    grid->addWidget(label, 0, 0);
    grid->addWidget(bar, 0, 1);
    grid->addWidget(percent, 0, 2);
    if (window.resetsAt)
        grid->addWidget(mutedLabel("Resets " + QString::fromStdString(
                                                   UsageText::timeUntil(*window.resetsAt, now))),
                        1, 1, 1, 2);
    grid->setColumnStretch(1, 1);
    return row;
}

} // namespace

UsageView::UsageView(usage::UsageCoordinator* usage, sessions::SessionTracker* sessions,
                     QWidget* parent)
    : QWidget(parent), usage_(usage), sessions_(sessions) {
    setMinimumWidth(360);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    auto* header = new QHBoxLayout;
    header->addWidget(heading("AI usage", 16));
    header->addStretch();
    layout->addLayout(header);
    body_ = new QVBoxLayout;
    body_->setSpacing(8);
    layout->addLayout(body_);
    layout->addWidget(separator());

    auto* actions = new QHBoxLayout;
    auto* refresh = new QPushButton("Refresh");
    auto* settings = new QPushButton("Settings…");
    auto* quit = new QPushButton("Quit Ravo");
    actions->addWidget(refresh);
    actions->addStretch();
    actions->addWidget(settings);
    actions->addWidget(quit);
    layout->addLayout(actions);
    connect(refresh, &QPushButton::clicked, this, [this] { usage_->refresh(); });
    connect(settings, &QPushButton::clicked, this, &UsageView::settingsRequested);
    connect(quit, &QPushButton::clicked, this, &UsageView::quitRequested);

    auto* keepCurrent = new VisibleRefresh(this, [this] { rebuild(); });
    connect(usage_, &usage::UsageCoordinator::snapshotChanged, keepCurrent,
            &VisibleRefresh::request);
    connect(sessions_, &sessions::SessionTracker::sessionsChanged, keepCurrent,
            &VisibleRefresh::request);
    connect(sessions_, &sessions::SessionTracker::settingsChanged, keepCurrent,
            &VisibleRefresh::request);
    // Reset times and ages count down while the popover is open.
    auto* clock = new QTimer(this);
    clock->setInterval(30'000);
    clock->setTimerType(Qt::VeryCoarseTimer);
    connect(clock, &QTimer::timeout, keepCurrent, &VisibleRefresh::request);
    clock->start();
    rebuild();
}

void UsageView::rebuild() {
    clearLayout(body_);
    addProviders();
    body_->addWidget(separator());
    addSessions();
    adjustSize();
    // A popover fits its content; a window the user sized (the dashboard) keeps its size.
    if (auto* popover = qobject_cast<PopoverWindow*>(window()))
        popover->adjustSize();
}

void UsageView::setProvidersSideBySide(bool sideBySide) {
    if (sideBySide == providersSideBySide_)
        return;
    providersSideBySide_ = sideBySide;
    rebuild();
}

void UsageView::addProviders() {
    const auto& snapshot = usage_->snapshot();
    if (!snapshot || snapshot->providers.empty()) {
        body_->addWidget(mutedLabel("Ravo is asking Claude Code and Codex for your limits…"));
        return;
    }
    const TimePoint now = Clock::now();
    QHBoxLayout* columns = nullptr;
    if (providersSideBySide_ && snapshot->providers.size() > 1) {
        columns = new QHBoxLayout;
        columns->setSpacing(24);
        body_->addLayout(columns);
    }
    for (const auto& provider : snapshot->providers) {
        QVBoxLayout* column = body_;
        if (columns) {
            column = new QVBoxLayout;
            column->setSpacing(body_->spacing());
            columns->addLayout(column, 1);
        }
        auto* title = new QHBoxLayout;
        title->addWidget(heading(QString::fromUtf8(displayName(provider.provider).data()), 14));
        title->addStretch();
        if (const auto plan = PlanName::display(provider.plan, provider.planMultiplier))
            title->addWidget(mutedLabel(QString::fromStdString(*plan)));
        column->addLayout(title);
        // Each provider says how old its own figures are: one may lag behind the other.
        if (provider.updatedAt) {
            const QString age =
                "Updated " +
                QString::fromStdString(sessions::SessionList::age(*provider.updatedAt, now));
            column->addWidget(
                UsageText::isStale(provider, now)
                    ? coloredLabel(age, Theme::levelColor(metrics::MetricLevel::warning, palette()))
                    : mutedLabel(age));
        }
        for (const auto& window : provider.windows)
            column->addWidget(windowRow(window, now, palette()));
        if (provider.credits)
            column->addWidget(mutedLabel(
                provider.credits->unlimited
                    ? "Credits: unlimited"
                    : "Credits: " + QString::fromStdString(provider.credits->balance.toString())));
        if (provider.resetCredits > 0)
            column->addWidget(
                mutedLabel(QString("Limit resets available: %1").arg(provider.resetCredits)));
        if (provider.setup)
            column->addWidget(wrappedLabel(QString::fromUtf8(message(*provider.setup).data()),
                                           palette().color(QPalette::WindowText)));
        if (provider.error)
            column->addWidget(
                wrappedLabel(QString::fromStdString(*provider.error), Theme::errorText(palette())));
        if (const auto fix = UsageText::remedy(provider))
            column->addWidget(
                wrappedLabel(QString::fromStdString(*fix), palette().color(QPalette::WindowText)));
        if (columns)
            column->addStretch(); // a short provider's rows stay at the top
    }
}

void UsageView::addSessions() {
    body_->addWidget(heading("Agent sessions", 14));
    if (!sessions_->tracksSessions()) {
        body_->addWidget(wrappedLabel("Turn on “Track agent sessions” in Settings to see your "
                                      "Claude Code and Codex sessions here.",
                                      Theme::mutedText(palette())));
        return;
    }
    const auto& sessions = sessions_->sessions();
    if (sessions.empty()) {
        body_->addWidget(wrappedLabel(
            QString::fromUtf8(sessions::SessionList::emptyText(
                                  !sessions::SessionSettings::installedProviders().empty())
                                  .data()),
            Theme::mutedText(palette())));
        return;
    }
    const TimePoint now = Clock::now();
    for (const auto& session : sessions) {
        auto* clickable = new ClickableRow;
        // Opening brings the agent's terminal forward; a finished session is dismissed.
        clickable->setToolTip(session.state == sessions::AgentSession::State::done
                                  ? "Dismiss this finished session"
                                  : "Bring this session's terminal forward");
        const std::string link = sessions::SessionLink{session.provider, session.sessionID}.url();
        connect(clickable, &ClickableRow::clicked, this, [this, link] {
            if (auto* popover = qobject_cast<PopoverWindow*>(window()))
                popover->hide();
            sessions_->openSession(link);
        });
        auto* row = new QGridLayout(clickable);
        row->setContentsMargins(0, 0, 0, 0);
        row->setHorizontalSpacing(8);
        row->setVerticalSpacing(0);
        auto* dot = coloredLabel("●", stateColor(session.state, palette()));
        row->addWidget(dot, 0, 0, Qt::AlignTop);
        auto* project =
            new QLabel("<b>" + QString::fromStdString(session.project).toHtmlEscaped() + "</b>  " +
                       QString::fromUtf8(displayName(session.provider).data()));
        row->addWidget(project, 0, 1);
        row->addWidget(
            mutedLabel(stateText(session.state) + " · " +
                       QString::fromStdString(sessions::SessionList::age(session.updatedAt, now))),
            0, 2, Qt::AlignRight);
        if (session.title) {
            QLabel* title = mutedLabel(QString::fromStdString(*session.title));
            title->setMaximumWidth(300);
            title->setText(title->fontMetrics().elidedText(title->text(), Qt::ElideRight, 300));
            row->addWidget(title, 1, 1, 1, 2);
        }
        row->setColumnStretch(1, 1);
        body_->addWidget(clickable);
    }
}

} // namespace ravo::ui
