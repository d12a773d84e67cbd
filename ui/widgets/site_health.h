#pragma once

#include "cloud/core/monitored_site.h"
#include "cloud/core/site_state.h"

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QString>

namespace ravo::ui {

// How a site's state looks wherever it is listed: a word, its colour, a coloured dot and a
// detail (the response time, or why the site is down).
struct SiteHealthLook {
    QString word;
    QColor color;
    QIcon dot;
    QString detail;
};

SiteHealthLook siteHealthLook(const cloud::MonitoredSite& site, const cloud::SiteState& state,
                              const QPalette& palette);
QColor siteHealthColor(cloud::SiteState::Health health, const QPalette& palette);

// What tells a site from others on its host and says how old its state is:
// "shop.example/health · down since 14:05 · checked 2 min ago". The address is left out
// when the site has no name of its own, as the name is then the address.
QString siteAboutLine(const cloud::MonitoredSite& site, const cloud::SiteState& state,
                      TimePoint now);
// "down since 14:05 · checked 2 min ago", or the part that is known.
QString siteAgeText(const cloud::SiteState& state, TimePoint now);

} // namespace ravo::ui
