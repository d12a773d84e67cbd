#include "ui/widgets/site_health.h"

#include "base/trimmed.h"
#include "ui/theme.h"
#include "wire/site_url.h"

#include <QPainter>
#include <QPixmap>
#include <QStringList>

#include <cmath>

namespace ravo::ui {

using Health = cloud::SiteState::Health;

QColor siteHealthColor(Health health, const QPalette& palette) {
    switch (health) {
    case Health::up:
        return Theme::doneColor(palette);
    case Health::slow:
        return Theme::levelColor(metrics::MetricLevel::warning, palette);
    case Health::down:
        return Theme::levelColor(metrics::MetricLevel::critical, palette);
    case Health::unknown:
        break;
    }
    return Theme::mutedText(palette);
}

namespace {

QIcon dot(const QColor& color) {
    QIcon icon;
    for (const int size : {12, 24}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(QRectF(size * 0.2, size * 0.2, size * 0.6, size * 0.6));
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

SiteHealthLook siteHealthLook(const cloud::MonitoredSite& site, const cloud::SiteState& state,
                              const QPalette& palette) {
    if (!site.isEnabled)
        return {"Paused", Theme::mutedText(palette), dot(Theme::mutedText(palette)), {}};
    const QColor color = siteHealthColor(state.health, palette);
    QString detail;
    if (state.problem)
        detail = QString::fromStdString(state.problem->text());
    else if (state.lastResult.latency)
        detail = QString("%1 ms").arg(std::lround(*state.lastResult.latency * 1000));
    switch (state.health) {
    case Health::up:
        return {"Up", color, dot(color), detail};
    case Health::slow:
        return {"Slow", color, dot(color), detail};
    case Health::down:
        return {"Down", color, dot(color), detail};
    case Health::unknown:
        break;
    }
    return {"Not checked yet", color, dot(color), detail};
}

QString siteAgeText(const cloud::SiteState& state, TimePoint now) {
    QStringList parts;
    for (const std::string& part :
         {cloud::downSinceText(state, now), cloud::checkedText(state, now)})
        if (!part.empty())
            parts << QString::fromStdString(part);
    return parts.join(" · ");
}

QString siteAboutLine(const cloud::MonitoredSite& site, const cloud::SiteState& state,
                      TimePoint now) {
    QStringList parts;
    if (!trimmedView(site.name).empty())
        parts << QString::fromStdString(wire::siteDisplayName({}, site.url));
    if (site.isEnabled)
        if (const QString age = siteAgeText(state, now); !age.isEmpty())
            parts << age;
    return parts.join(" · ");
}

} // namespace ravo::ui
