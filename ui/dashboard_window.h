#pragma once

#include <QWidget>

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

// Where the desktop has no tray: one small window with the metrics and the AI usage, and a
// line that says why it is there.
class DashboardWindow : public QWidget {
    Q_OBJECT
public:
    explicit DashboardWindow(app::AppController* controller, QWidget* parent = nullptr);

    static constexpr const char* kNoTrayText =
        "This desktop has no system tray, so Ravo shows its items in this window.";

signals:
    void settingsRequested();
    void quitRequested();
};

} // namespace ravo::ui
