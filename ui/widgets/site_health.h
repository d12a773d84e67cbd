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

} // namespace ravo::ui
