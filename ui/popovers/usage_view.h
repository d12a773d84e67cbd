#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

// The AI usage popover: each provider's plan and limit windows with their reset times,
// credits and what needs doing, then the live agent sessions.
class UsageView : public QWidget {
    Q_OBJECT
public:
    explicit UsageView(app::AppController* controller, QWidget* parent = nullptr);

    void rebuild();

signals:
    void settingsRequested();
    void quitRequested();

private:
    void addProviders();
    void addSessions();

    app::AppController* controller_;
    QVBoxLayout* body_;
};

} // namespace ravo::ui
