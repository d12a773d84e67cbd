#include "ui/settings/alerts_tab.h"

#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "ui/settings/setting_switch.h"
#include "ui/settings/settings_texts.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace ravo::ui {

AlertsTab::AlertsTab(cloud::AlertNotifier* notifier, cloud::CloudAccount* account,
                     cloud::TelegramSettings* telegram, QWidget* parent)
    : QWidget(parent), notifier_(notifier), account_(account), telegram_(telegram) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(8);
    const QColor muted = Theme::mutedText(palette());

    desktop_ =
        addSettingSwitch(layout, SettingsTexts::kDesktopAlerts, SettingsTexts::kDesktopAlertsHelp);
    connect(desktop_, &QCheckBox::toggled, notifier_, &cloud::AlertNotifier::setDesktopEnabled);
    layout->addWidget(separator());

    layout->addWidget(heading("Telegram", 14));
    signedOut_ = wrappedLabel(cloud::TelegramSettings::kSignedOutText, muted);
    layout->addWidget(signedOut_);
    controls_ = new QWidget;
    auto* form = new QVBoxLayout(controls_);
    form->setContentsMargins(0, 0, 0, 0);
    form->addWidget(wrappedLabel(cloud::TelegramSettings::kExplanation, muted));
    form->addWidget(wrappedLabel(SettingsTexts::kTelegramBotHelp, muted));
    auto* grid = new QFormLayout;
    token_ = new QLineEdit;
    token_->setEchoMode(QLineEdit::Password);
    token_->setPlaceholderText("123456789:AA…");
    saveToken_ = new QPushButton("Save token");
    auto* tokenRow = new QHBoxLayout;
    tokenRow->addWidget(token_, 1);
    tokenRow->addWidget(saveToken_);
    grid->addRow("Bot token", tokenRow);
    tokenSaved_ = mutedLabel("A bot token of yours is saved on the server.");
    grid->addRow(QString(), tokenSaved_);
    chat_ = new QLineEdit;
    chat_->setPlaceholderText("-1001234567890 or @channel");
    find_ = new QPushButton("Find");
    saveChat_ = new QPushButton("Save");
    auto* chatRow = new QHBoxLayout;
    chatRow->addWidget(chat_, 1);
    chatRow->addWidget(find_);
    chatRow->addWidget(saveChat_);
    grid->addRow("Chat ID", chatRow);
    chats_ = new QComboBox;
    chats_->hide();
    grid->addRow(QString(), chats_);
    form->addLayout(grid);
    test_ = new QPushButton("Send test");
    auto* testRow = new QHBoxLayout;
    testRow->addWidget(test_);
    testRow->addStretch();
    form->addLayout(testRow);
    status_ = wrappedLabel({}, muted);
    form->addWidget(status_);
    deliveryError_ = wrappedLabel({}, Theme::errorText(palette()));
    form->addWidget(deliveryError_);
    layout->addWidget(controls_);
    layout->addStretch();

    connect(saveToken_, &QPushButton::clicked, this, [this] {
        const std::string token = token_->text().toStdString();
        telegram_->saveBotToken(token);
    });
    connect(chat_, &QLineEdit::textEdited, this,
            [this](const QString& text) { telegram_->setChatID(text.toStdString()); });
    connect(saveChat_, &QPushButton::clicked, this, [this] { telegram_->saveChatID(); });
    connect(find_, &QPushButton::clicked, this, [this] { findChats(); });
    connect(chats_, &QComboBox::activated, this, [this](int index) {
        const QString id = chats_->itemData(index).toString();
        chat_->setText(id);
        telegram_->setChatID(id.toStdString());
    });
    connect(test_, &QPushButton::clicked, this, [this] { telegram_->sendTest(); });
    connect(notifier_, &cloud::AlertNotifier::changed, this, &AlertsTab::sync);
    connect(account_, &cloud::CloudAccount::changed, this, &AlertsTab::sync);
    connect(telegram_, &cloud::TelegramSettings::changed, this, &AlertsTab::sync);
    sync();
}

void AlertsTab::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (account_->isSignedIn() && !loadedForSignIn_) {
        loadedForSignIn_ = true;
        telegram_->load();
    }
}

QCoro::Task<> AlertsTab::findChats() {
    QPointer<AlertsTab> self(this);
    const auto chats = co_await telegram_->findChats(token_->text().toStdString());
    if (!self)
        co_return;
    chats_->clear();
    for (const auto& chat : chats)
        chats_->addItem(QString::fromStdString(chat.title) + "  (" + QString::number(chat.id) + ")",
                        QString::number(chat.id));
    chats_->setVisible(!chats.empty());
    if (chats.size() == 1) {
        chat_->setText(chats_->itemData(0).toString());
        telegram_->setChatID(chat_->text().toStdString());
    }
}

void AlertsTab::sync() {
    {
        const QSignalBlocker blocker(desktop_);
        desktop_->setChecked(notifier_->desktopEnabled());
    }
    const bool signedIn = account_->isSignedIn();
    if (!signedIn)
        loadedForSignIn_ = false;
    else if (!loadedForSignIn_ && isVisible()) {
        loadedForSignIn_ = true;
        telegram_->load();
    }
    signedOut_->setVisible(!signedIn);
    controls_->setVisible(signedIn);
    const bool working = telegram_->isWorking();
    for (QWidget* control :
         std::initializer_list<QWidget*>{saveToken_, find_, saveChat_, test_, chats_})
        control->setEnabled(!working);
    tokenSaved_->setVisible(telegram_->hasBotToken());
    if (!chat_->hasFocus())
        chat_->setText(QString::fromStdString(telegram_->chatID()));
    const auto& status = telegram_->status();
    status_->setText(status ? QString::fromStdString(status->text) : QString());
    QPalette colors = status_->palette();
    colors.setColor(QPalette::WindowText, status && status->isError ? Theme::errorText(palette())
                                                                    : Theme::mutedText(palette()));
    status_->setPalette(colors);
    status_->setVisible(status.has_value());
    const auto& delivery = telegram_->lastDeliveryError();
    deliveryError_->setText(delivery ? "The last alert did not reach Telegram: " +
                                           QString::fromStdString(*delivery)
                                     : QString());
    deliveryError_->setVisible(delivery.has_value());
}

} // namespace ravo::ui
