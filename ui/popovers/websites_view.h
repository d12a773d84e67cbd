#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace ravo::cloud {
class WebsiteMonitor;
}

namespace ravo::ui {

// The websites popover: the sites with their states, worst first, and the way to the
// settings.
class WebsitesView : public QWidget {
    Q_OBJECT
public:
    explicit WebsitesView(cloud::WebsiteMonitor* monitor, QWidget* parent = nullptr);

    void rebuild();

signals:
    void settingsRequested();

private:
    cloud::WebsiteMonitor* monitor_;
    QLabel* summary_;
    QVBoxLayout* rows_;
    QLabel* error_;
};

} // namespace ravo::ui
