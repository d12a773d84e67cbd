#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace ravo::sessions {
class SessionTracker;
}
namespace ravo::usage {
class UsageCoordinator;
}

namespace ravo::ui {

// The AI usage popover: each provider's plan and limit windows with their reset times,
// credits and what needs doing, then the live agent sessions.
class UsageView : public QWidget {
    Q_OBJECT
public:
    UsageView(usage::UsageCoordinator* usage, sessions::SessionTracker* sessions,
              QWidget* parent = nullptr);

    void rebuild();
    // Providers in columns of their own rather than one under the other, for a window with
    // the width and not the height.
    void setProvidersSideBySide(bool sideBySide);

signals:
    void settingsRequested();
    void quitRequested();

private:
    void addProviders();
    void addSessions();

    usage::UsageCoordinator* usage_;
    sessions::SessionTracker* sessions_;
    QVBoxLayout* body_;
    bool providersSideBySide_ = false;
};

} // namespace ravo::ui
