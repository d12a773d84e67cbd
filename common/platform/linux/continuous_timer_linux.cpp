#include "common/continuous_timer.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstdint>

#include <sys/timerfd.h>
#include <unistd.h>

namespace ravo::common {

// CLOCK_BOOTTIME counts suspended time; where it cannot be had, Qt's timer stands in.
struct ContinuousTimer::Platform {
    int fd = -1;
    QSocketNotifier* notifier = nullptr;
    QTimer* fallback = nullptr;
};

ContinuousTimer::ContinuousTimer(QObject* parent)
    : QObject(parent), platform_(std::make_unique<Platform>()) {
    platform_->fd = ::timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (platform_->fd >= 0) {
        platform_->notifier = new QSocketNotifier(platform_->fd, QSocketNotifier::Read, this);
        connect(platform_->notifier, &QSocketNotifier::activated, this, [this] {
            std::uint64_t expirations = 0;
            if (::read(platform_->fd, &expirations, sizeof expirations) <= 0 || !active_)
                return;
            active_ = false;
            emit timeout();
        });
    } else {
        platform_->fallback = new QTimer(this);
        platform_->fallback->setSingleShot(true);
        connect(platform_->fallback, &QTimer::timeout, this, [this] {
            active_ = false;
            emit timeout();
        });
    }
}

ContinuousTimer::~ContinuousTimer() {
    delete platform_->notifier;
    if (platform_->fd >= 0)
        ::close(platform_->fd);
}

void ContinuousTimer::start(std::chrono::milliseconds after) {
    active_ = true;
    if (platform_->fallback) {
        platform_->fallback->start(after);
        return;
    }
    const auto count = std::max<std::int64_t>(after.count(), 1);
    itimerspec when{};
    when.it_value.tv_sec = count / 1000;
    when.it_value.tv_nsec = (count % 1000) * 1'000'000;
    ::timerfd_settime(platform_->fd, 0, &when, nullptr);
}

void ContinuousTimer::stop() {
    active_ = false;
    if (platform_->fallback) {
        platform_->fallback->stop();
        return;
    }
    itimerspec disarm{};
    ::timerfd_settime(platform_->fd, 0, &disarm, nullptr);
}

} // namespace ravo::common
