#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QListWidget;
class QTabWidget;

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

// Ravo's settings: General, Menu bar, AI, Sessions, and the websites' Account, Websites
// and Alerts.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    enum Tab {
        kGeneralTab,
        kMenuBarTab,
        kAITab,
        kSessionsTab,
        kAccountTab,
        kWebsitesTab,
        kAlertsTab
    };

    explicit SettingsWindow(app::AppController* controller, QWidget* parent = nullptr);

    void showTab(int index);
    QTabWidget* tabs() const { return tabs_; }

private:
    QWidget* generalTab();
    QWidget* menuBarTab();
    QWidget* aiTab();
    QWidget* sessionsTab();
    void sync();
    void syncMetrics();
    void moveSelectedMetric(int step);
    void storeMetrics();

    app::AppController* controller_;
    QTabWidget* tabs_;
    QCheckBox* launchAtLogin_ = nullptr;
    QListWidget* metrics_ = nullptr;
    QCheckBox* readsClaudeLimits_ = nullptr;
    QLabel* claudeLimitsError_ = nullptr;
    QCheckBox* asksClaudeCode_ = nullptr;
    QCheckBox* tracksSessions_ = nullptr;
    QLabel* sessionError_ = nullptr;
    QLabel* codexApproval_ = nullptr;
};

} // namespace ravo::ui
