#pragma once

#include <QObject>
#include <QSystemTrayIcon>

namespace ravo::cloud {
class WebsiteMonitor;
}

namespace ravo::ui {

class PopoverWindow;
class WebsitesView;

// The websites item: shown while there are sites to watch, red with the number of sites
// down, and the websites popover on click.
class WebsitesTrayItem : public QObject {
    Q_OBJECT
public:
    WebsitesTrayItem(cloud::WebsiteMonitor* monitor, QObject* parent = nullptr);
    ~WebsitesTrayItem() override;

    QSystemTrayIcon* icon() const { return icon_; }
    WebsitesView* view() const { return view_; }
    void showPopover();

signals:
    void settingsRequested();
    void quitRequested();

private:
    void redraw();

    cloud::WebsiteMonitor* monitor_;
    QSystemTrayIcon* icon_;
    WebsitesView* view_;
    PopoverWindow* popover_;
    QString drawnKey_;
};

} // namespace ravo::ui
