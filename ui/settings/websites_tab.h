#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTreeWidget;

namespace ravo::cloud {
class WebsiteMonitor;
}

namespace ravo::ui {

// The monitored websites: each with its state, switched on or off, added with inline input
// errors, removed, and opened in the history view.
class WebsitesTab : public QWidget {
    Q_OBJECT
public:
    explicit WebsitesTab(cloud::WebsiteMonitor* monitor, QWidget* parent = nullptr);

    QTreeWidget* list() const { return list_; }
    // Adds what the fields hold; false with the reason shown under them.
    bool addFromFields();

private:
    void sync();
    void showHistory();
    std::string selectedID() const;

    cloud::WebsiteMonitor* monitor_;
    QLabel* signedOut_;
    QTreeWidget* list_;
    QLineEdit* address_;
    QLineEdit* name_;
    QLineEdit* keyword_;
    QPushButton* add_;
    QLabel* inputError_;
    QPushButton* remove_;
    QPushButton* history_;
    QSpinBox* interval_;
    QLabel* error_;
    bool syncing_ = false;
};

} // namespace ravo::ui
