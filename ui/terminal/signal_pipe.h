#pragma once

#include <QObject>

#include <vector>

class QSocketNotifier;

namespace ravo::ui {

// Turns Unix signals into a Qt signal on the event loop's thread, for as long as it lives;
// then the signals get their default handling back. One at a time per process.
class SignalPipe : public QObject {
    Q_OBJECT
public:
    SignalPipe(std::vector<int> numbers, QObject* parent = nullptr);
    ~SignalPipe() override;

signals:
    void received(int number);

private:
    void readPipe();

    std::vector<int> numbers_;
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace ravo::ui
