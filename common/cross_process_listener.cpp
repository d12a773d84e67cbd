#include "common/cross_process_listener.h"

#include "base/cross_process_signal.h"

#include <QDBusConnection>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

namespace ravo::common {

namespace {
constexpr int kBurstMs = 100;

QTimer* burstTimer(QObject* parent) {
    auto* timer = new QTimer(parent);
    timer->setSingleShot(true);
    timer->setInterval(kBurstMs);
    return timer;
}
} // namespace

CrossProcessListener::CrossProcessListener(QString containerPath, QObject* parent)
    : QObject(parent), container_(std::move(containerPath)), sessionsBurst_(burstTimer(this)),
      limitsBurst_(burstTimer(this)) {
    connect(sessionsBurst_, &QTimer::timeout, this, &CrossProcessListener::sessionsChanged);
    connect(limitsBurst_, &QTimer::timeout, this, &CrossProcessListener::claudeLimitsChanged);
}

void CrossProcessListener::start() {
    if (started_)
        return;
    started_ = true;
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        onBus_ =
            bus.connect(QString(), CrossProcessSignal::kPath, CrossProcessSignal::kInterface,
                        CrossProcessSignal::kSessionsChanged, this, SLOT(onSessionsSignal())) &&
            bus.connect(QString(), CrossProcessSignal::kPath, CrossProcessSignal::kInterface,
                        CrossProcessSignal::kClaudeLimitsChanged, this,
                        SLOT(onClaudeLimitsSignal()));
    }
    watchFolders();
}

void CrossProcessListener::onSessionsSignal() {
    sessionsBurst_->start();
}
void CrossProcessListener::onClaudeLimitsSignal() {
    limitsBurst_->start();
}

void CrossProcessListener::watchFolders() {
    // The folders must exist to be watched; the hook creates the same ones.
    QDir().mkpath(container_ + "/Sessions");
    watcher_ = new QFileSystemWatcher(this);
    watcher_->addPath(container_);
    watcher_->addPath(container_ + "/Sessions");
    connect(watcher_, &QFileSystemWatcher::directoryChanged, this, [this](const QString& path) {
        if (path.endsWith(QLatin1String("/Sessions"))) {
            sessionsBurst_->start();
            return;
        }
        // Renames into the container: the limits file is one of them.
        const qint64 changed =
            QFileInfo(container_ + "/claude-limits.json").lastModified().toMSecsSinceEpoch();
        if (changed != lastLimitsChange_) {
            lastLimitsChange_ = changed;
            limitsBurst_->start();
        }
    });
}

} // namespace ravo::common
