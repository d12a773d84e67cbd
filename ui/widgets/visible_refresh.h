#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace ravo::ui {

// Keeps a view current without doing the work while nobody can see it: a change that
// arrives while the view is hidden only marks it stale, and it is brought up to date when
// it shows again (for a popover, before it is sized and placed).
class VisibleRefresh : public QObject {
    Q_OBJECT
public:
    VisibleRefresh(QWidget* view, std::function<void()> refresh);

    // Something the view shows has changed.
    void request();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void catchUp();

    QWidget* view_;
    std::function<void()> refresh_;
    bool stale_ = false;
};

} // namespace ravo::ui
