#pragma once

#include <QFrame>
#include <QRect>

class QScreen;
class QVBoxLayout;

namespace ravo::ui {

// A borderless panel that opens under (or above) its tray item and closes when the user
// clicks elsewhere or presses Escape.
class PopoverWindow : public QFrame {
    Q_OBJECT
public:
    explicit PopoverWindow(QWidget* content, QWidget* parent = nullptr);

    // Opens beside `anchor` (the tray item) on its screen, or near the pointer when the tray
    // does not say where its items are.
    void showAt(const QRect& anchor);
    void toggleAt(const QRect& anchor);

signals:
    // Before the popover takes its size from the content: the last moment to update it.
    void aboutToShow();
    void closed();

protected:
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QScreen* screenFor(const QRect& anchor) const;
    QWidget* content_;
};

} // namespace ravo::ui
