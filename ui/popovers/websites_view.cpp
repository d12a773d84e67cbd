#include "ui/popovers/websites_view.h"

#include "cloud/core/websites_overview.h"
#include "cloud/website_monitor.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/site_health.h"
#include "ui/widgets/visible_refresh.h"
#include "wire/site_url.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace ravo::ui {

namespace {

int severity(const cloud::MonitoredSite& site, const cloud::SiteState& state) {
    if (!site.isEnabled)
        return 4;
    switch (state.health) {
    case cloud::SiteState::Health::down:
        return 0;
    case cloud::SiteState::Health::slow:
        return 1;
    case cloud::SiteState::Health::unknown:
        return 2;
    case cloud::SiteState::Health::up:
        break;
    }
    return 3;
}

} // namespace

WebsitesView::WebsitesView(cloud::WebsiteMonitor* monitor, QWidget* parent)
    : QWidget(parent), monitor_(monitor) {
    setMinimumWidth(340);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->setSpacing(8);
    layout->addWidget(heading("Websites"));
    summary_ = mutedLabel({});
    layout->addWidget(summary_);
    layout->addWidget(separator());
    rows_ = new QVBoxLayout;
    rows_->setSpacing(6);
    layout->addLayout(rows_);
    error_ = wrappedLabel({}, Theme::errorText(palette()));
    layout->addWidget(error_);
    layout->addWidget(separator());
    auto* footer = new QHBoxLayout;
    auto* settings = new QPushButton("Websites settings…");
    settings->setFlat(true);
    footer->addStretch();
    footer->addWidget(settings);
    layout->addLayout(footer);
    connect(settings, &QPushButton::clicked, this, &WebsitesView::settingsRequested);
    auto* keepCurrent = new VisibleRefresh(this, [this] { rebuild(); });
    connect(monitor_, &cloud::WebsiteMonitor::changed, keepCurrent, &VisibleRefresh::request);
    // "checked 2 min ago" grows older between the polls too.
    auto* ages = new QTimer(this);
    ages->setInterval(std::chrono::seconds(30));
    ages->setTimerType(Qt::CoarseTimer);
    connect(ages, &QTimer::timeout, keepCurrent, &VisibleRefresh::request);
    ages->start();
    rebuild();
}

void WebsitesView::rebuild() {
    clearLayout(rows_);
    auto sites = monitor_->sites();
    std::stable_sort(sites.begin(), sites.end(), [this](const auto& a, const auto& b) {
        return severity(a, monitor_->state(a.id)) < severity(b, monitor_->state(b.id));
    });
    const auto overview = cloud::WebsitesOverview::of(sites, monitor_->states());
    summary_->setText(monitor_->isSignedIn()
                          ? QString::fromStdString(overview.summary)
                          : "Signed out: sign in in Settings → Account to see the states.");
    const TimePoint now = Clock::now();
    for (const auto& site : sites) {
        const SiteHealthLook look = siteHealthLook(site, monitor_->state(site.id), palette());
        auto* row = new QWidget;
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        auto* dot = new QLabel;
        dot->setPixmap(look.dot.pixmap(12, 12));
        line->addWidget(dot);
        auto* name = new QLabel(QString::fromStdString(wire::siteDisplayName(site.name, site.url)));
        name->setToolTip(QString::fromStdString(site.url));
        // Under the name, which site it is and how old its state is.
        auto* names = new QVBoxLayout;
        names->setSpacing(0);
        names->addWidget(name);
        QLabel* about = wrappedLabel(siteAboutLine(site, monitor_->state(site.id), now),
                                     Theme::mutedText(palette()));
        about->setObjectName("siteAbout");
        names->addWidget(about);
        line->addLayout(names, 1);
        QLabel* detail = coloredLabel(look.detail.isEmpty() ? look.word : look.detail, look.color);
        detail->setToolTip(look.word + (look.detail.isEmpty() ? "" : ": " + look.detail));
        detail->setMaximumWidth(220);
        line->addWidget(detail);
        rows_->addWidget(row);
    }
    if (sites.empty())
        rows_->addWidget(mutedLabel("No websites yet. Add them in Settings → Websites."));
    const auto& error = monitor_->lastError();
    error_->setText(error ? QString::fromStdString(*error) : QString());
    error_->setVisible(error.has_value());
}

} // namespace ravo::ui
