#pragma once

#include <QObject>

namespace ravo::cloud {
class WebsiteMonitor;
}

namespace ravo::ui {

class TrayItem;

class PopoverWindow;
class WebsitesView;

// The websites item: shown while there are sites to watch, red with the number of sites
// down, and the websites popover on click.
class WebsitesTrayItem : public QObject {
    Q_OBJECT
public:
    WebsitesTrayItem(cloud::WebsiteMonitor* monitor, QObject* parent = nullptr);
    ~WebsitesTrayItem() override;

    WebsitesView* view() const { return view_; }
    void showPopover();
    // Not yet shown: the panel shows its row in an order the host keeps.
    TrayItem* trayItem() const { return icon_; }
    // Draws the icon again even if the figures are the same: for a panel whose colour changed.
    void repaint();
    // Shown while there are sites to watch.
    bool isWanted() const { return wanted_; }

signals:
    void settingsRequested();
    void quitRequested();
    void wantedChanged();

private:
    void redraw();

    cloud::WebsiteMonitor* monitor_;
    TrayItem* icon_;
    WebsitesView* view_;
    PopoverWindow* popover_;
    QString drawnKey_;
    bool wanted_ = false;
};

} // namespace ravo::ui
