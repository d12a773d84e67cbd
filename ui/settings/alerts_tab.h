#pragma once

#include <QWidget>

#include <qcoro/qcorotask.h>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace ravo::cloud {
class AlertNotifier;
class CloudAccount;
class TelegramSettings;
} // namespace ravo::cloud

namespace ravo::ui {

// Where website alerts go: the desktop, while Ravo runs, and Telegram, which the server
// writes to around the clock.
class AlertsTab : public QWidget {
    Q_OBJECT
public:
    AlertsTab(cloud::AlertNotifier* notifier, cloud::CloudAccount* account,
              cloud::TelegramSettings* telegram, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void sync();
    QCoro::Task<> findChats();

    cloud::AlertNotifier* notifier_;
    cloud::CloudAccount* account_;
    cloud::TelegramSettings* telegram_;
    QCheckBox* desktop_;
    QLabel* signedOut_;
    QWidget* controls_;
    QLineEdit* token_;
    QPushButton* saveToken_;
    QLabel* tokenSaved_;
    QLineEdit* chat_;
    QPushButton* find_;
    QComboBox* chats_;
    QPushButton* saveChat_;
    QPushButton* test_;
    QLabel* status_;
    QLabel* deliveryError_;
    bool loadedForSignIn_ = false;
};

} // namespace ravo::ui
