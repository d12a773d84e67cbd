#pragma once

#include <QWidget>

#include <qcoro/qcorotask.h>

class QLabel;
class QPushButton;

namespace ravo::updates {
class UpdateChecker;
}

namespace ravo::ui {

// The General tab's word on updates: nothing while up to date, an offer with its notes and
// a download, or, when this build is below the minimum, that monitoring is paused.
class UpdateSection : public QWidget {
    Q_OBJECT
public:
    explicit UpdateSection(updates::UpdateChecker* checker, QWidget* parent = nullptr);

private:
    void sync();
    QCoro::Task<> download();

    updates::UpdateChecker* checker_;
    QLabel* headline_;
    QLabel* notes_;
    QPushButton* download_;
    QLabel* status_;
};

} // namespace ravo::ui
