#pragma once

#include <QWidget>

class QComboBox;
class QFormLayout;
class QLabel;
class QSpinBox;

namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

// How the machine is watched: how often it is sampled, and which network interface and
// volume its figures follow.
class SystemTab : public QWidget {
    Q_OBJECT
public:
    explicit SystemTab(metrics::SystemMonitor* monitor, QWidget* parent = nullptr);

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
    QLabel* choiceNote_;
};

} // namespace ravo::ui
