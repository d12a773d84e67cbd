#pragma once

#include "ui/coordinators.h"
#include <QWidget>

class QCheckBox;
class QLabel;
class QListView;
class QListWidget;
class QStackedWidget;
class QStandardItemModel;

namespace ravo::ui {

// Ravo's settings: General, Panel, AI, Sessions, Network, and the websites' Account,
// Websites and Alerts, as pages named in a list down the side, as desktop settings apps have
// them, so every name reads in full however many there are. A page whose coordinator is
// missing is left out.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    enum Tab {
        kGeneralTab,
        kPanelTab,
        kSystemTab,
        kAITab,
        kSessionsTab,
        kNetworkTab,
        kSyncTab,
        kAccountTab,
        kWebsitesTab,
        kAlertsTab
    };

    explicit SettingsWindow(const Coordinators& coordinators, QWidget* parent = nullptr);

    void showTab(Tab tab);
    // The pages' names, top to bottom, and the one on show.
    QStringList pageTitles() const;
    int currentPage() const;
    void setCurrentPage(int row);
    QListView* pageList() const { return pageList_; }
    // The tray owns the choice of one combined item; the Panel tab shows and changes it.
    void setCombinedTrayItem(bool combined);

signals:
    void combinedTrayItemChosen(bool combined);

private:
    void addTab(Tab tab, QWidget* page, const QString& title);
    QWidget* generalTab();
    QWidget* panelTab();
    QWidget* aboutSection();
    QWidget* aiTab();
    QWidget* sessionsTab();
    void sync();
    void syncMetrics();
    void moveSelectedMetric(int step);
    void storeMetrics();

    Coordinators coordinators_;
    QListView* pageList_;
    QStandardItemModel* pageNames_;
    QStackedWidget* pagesStack_;
    QCheckBox* launchAtLogin_ = nullptr;
    QListWidget* metrics_ = nullptr;
    QCheckBox* combinedTrayItem_ = nullptr;
    QCheckBox* readsClaudeLimits_ = nullptr;
    QLabel* claudeLimitsError_ = nullptr;
    QCheckBox* asksClaudeCode_ = nullptr;
    QCheckBox* tracksSessions_ = nullptr;
    QLabel* sessionError_ = nullptr;
    QLabel* codexApproval_ = nullptr;
};

} // namespace ravo::ui
