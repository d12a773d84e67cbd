#pragma once

#include <QObject>

#include <chrono>
#include <memory>

namespace ravo::common {

// A single-shot timer on a clock that keeps counting while the computer sleeps, so a wait
// that spans a suspend ends on time instead of after the sleep as well.
class ContinuousTimer : public QObject {
    Q_OBJECT
public:
    explicit ContinuousTimer(QObject* parent = nullptr);
    ~ContinuousTimer() override;

    void start(std::chrono::milliseconds after);
    void stop();
    bool isActive() const { return active_; }

signals:
    void timeout();

private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
    bool active_ = false;
};

} // namespace ravo::common
