#include "ui/terminal/terminal_dashboard.h"

#include "metrics/system_monitor.h"
#include "sessions/session_link.h"
#include "sessions/session_tracker.h"
#include "ui/terminal/curses_screen.h"
#include "ui/terminal/dashboard_frame_reader.h"
#include "ui/terminal/dashboard_layout.h"
#include "ui/terminal/history_graph.h"
#include "usage/usage_coordinator.h"

namespace ravo::ui {

using namespace metrics;

namespace {

template <typename Value> void appendCapped(std::deque<Value>& values, Value value) {
    values.push_back(value);
    while (values.size() > TerminalDashboard::kHistoryLength)
        values.pop_front();
}

} // namespace

TerminalDashboard::TerminalDashboard(const Coordinators& coordinators, CursesScreen* screen,
                                     QObject* parent)
    : QObject(parent), coordinators_(coordinators), screen_(screen) {
    // The machine section lists the busiest and largest processes where rows allow.
    coordinators_.systemMonitor->processListDidShow();
    connect(coordinators_.systemMonitor, &SystemMonitor::readingChanged, this, [this] {
        record();
        redraw();
    });
    connect(coordinators_.systemMonitor, &SystemMonitor::formatLocaleChanged, this,
            &TerminalDashboard::redraw);
    connect(coordinators_.usage, &usage::UsageCoordinator::snapshotChanged, this,
            &TerminalDashboard::redraw);
    connect(coordinators_.sessions, &sessions::SessionTracker::sessionsChanged, this,
            &TerminalDashboard::redraw);
    connect(screen_, &CursesScreen::resized, this, &TerminalDashboard::redraw);
    connect(screen_, &CursesScreen::quitRequested, this, &TerminalDashboard::quitRequested);
    connect(screen_, &CursesScreen::keyPressed, this,
            [this](DashboardKey key) { act(press(view_, key, counts())); });
    connect(screen_, &CursesScreen::clicked, this, [this](int row, int column, bool twice) {
        act(click(view_, row, column, twice, areas_));
    });
    connect(screen_, &CursesScreen::scrolled, this, [this](int row, int column, int steps) {
        scroll(view_, row, column, steps, areas_, counts());
        redraw();
    });
}

TerminalDashboard::~TerminalDashboard() {
    coordinators_.systemMonitor->processListDidHide();
}

void TerminalDashboard::record() {
    const auto reading = coordinators_.systemMonitor->reading();
    if (!reading)
        return;
    for (SystemMetric metric : kAllMetrics)
        if (const auto fraction = reading->fraction(metric))
            appendCapped(history_[metric], *fraction);
    if (reading->network)
        appendCapped(networkIn_, reading->network->inRate);
    appendCapped(sampledAt_, reading->date);
}

DashboardCounts TerminalDashboard::counts() const {
    return {static_cast<int>(coordinators_.systemMonitor->visibleMetrics().size()),
            static_cast<int>(coordinators_.sessions->sessions().size())};
}

void TerminalDashboard::act(DashboardAction action) {
    if (action.kind == DashboardAction::Kind::quit) {
        emit quitRequested();
        return;
    }
    if (action.kind == DashboardAction::Kind::openSession) {
        const auto sessions = coordinators_.sessions->sessions();
        if (action.session >= 0 && action.session < static_cast<int>(sessions.size())) {
            const auto& session = sessions[static_cast<std::size_t>(action.session)];
            coordinators_.sessions->openSession(
                sessions::SessionLink{session.provider, session.sessionID}.url());
        }
    }
    redraw();
}

void TerminalDashboard::redraw() {
    DashboardFrame frame =
        readDashboardFrame(*coordinators_.systemMonitor, {coordinators_.usage->snapshot(),
                                                          coordinators_.sessions->tracksSessions(),
                                                          coordinators_.sessions->sessions()});
    for (const auto& [metric, values] : history_)
        frame.history[metric] = {values.begin(), values.end()};
    frame.rateHistory[RateSeries::networkIn] = {networkIn_.begin(), networkIn_.end()};
    // The last few minutes, so a changed cadence shows soon.
    frame.sampleInterval =
        meanInterval(sampledAt_, 100, std::chrono::milliseconds(SystemMonitor::kIntervalMs));
    frame.width = screen_->width();
    frame.height = screen_->height();
    frame.color = screen_->hasColor();
    DashboardScreen laidOut = layoutDashboard(
        frame, view_, coordinators_.systemMonitor->formatLocale(), std::move(spare_));
    areas_ = std::move(laidOut.areas);
    spare_ = screen_->draw(std::move(laidOut.grid));
}

} // namespace ravo::ui
