#include "common/log_categories.h"

#include "base/log.h"

#include <QHash>
#include <QMutex>

Q_LOGGING_CATEGORY(lcApp, "io.halvorsund.Ravo.app")
Q_LOGGING_CATEGORY(lcMetrics, "io.halvorsund.Ravo.metrics")
Q_LOGGING_CATEGORY(lcConnection, "io.halvorsund.Ravo.connection")
Q_LOGGING_CATEGORY(lcSync, "io.halvorsund.Ravo.settingsSync")
Q_LOGGING_CATEGORY(lcUpdates, "io.halvorsund.Ravo.updates")

namespace ravo::common {

namespace {

const QLoggingCategory& categoryNamed(std::string_view name) {
    static QMutex mutex;
    static QHash<QByteArray, QLoggingCategory*> categories;
    const QMutexLocker lock(&mutex);
    const QByteArray key = "io.halvorsund.Ravo." + QByteArray(name.data(), qsizetype(name.size()));
    auto it = categories.find(key);
    if (it == categories.end()) {
        // QLoggingCategory keeps the pointer, so the name must live as long as the category.
        auto* stored = new QByteArray(key);
        it = categories.insert(key, new QLoggingCategory(stored->constData()));
    }
    return **it;
}

void forward(std::string_view category, log::Level level, std::string_view message) {
    const QLoggingCategory& target = categoryNamed(category);
    const QString text = QString::fromUtf8(message.data(), qsizetype(message.size()));
    switch (level) {
    case log::Level::debug:
        qCDebug(target).noquote() << text;
        break;
    case log::Level::info:
        qCInfo(target).noquote() << text;
        break;
    case log::Level::warning:
        qCWarning(target).noquote() << text;
        break;
    case log::Level::error:
        qCCritical(target).noquote() << text;
        break;
    }
}

} // namespace

void installCoreLogSink() {
    log::setSink(&forward);
}

} // namespace ravo::common
