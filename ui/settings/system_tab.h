#pragma once

#include <QWidget>

class QComboBox;
class QFormLayout;
class QLabel;
class QSpinBox;

namespace ravo::metrics {
class GaugeAlerts;
class SystemMonitor;
} // namespace ravo::metrics

namespace ravo::ui {

// How the machine is watched: how often it is sampled, which network interface and volume
// its figures follow, the unit of its temperatures, and the limits that notify.
class SystemTab : public QWidget {
    Q_OBJECT
public:
    SystemTab(metrics::SystemMonitor* monitor, metrics::GaugeAlerts* alerts = nullptr,
              QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void sync();
    void syncChoices();
    // Stores the choice of `box`, the automatic one as empty.
    void choose(QComboBox* box);

    metrics::SystemMonitor* monitor_;
    QFormLayout* form_;
    QSpinBox* refresh_;
    QComboBox* interface_;
    QComboBox* volume_;
    QComboBox* unit_;
    QLabel* choiceNote_;
};

} // namespace ravo::ui
