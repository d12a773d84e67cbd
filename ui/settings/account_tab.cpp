#include "ui/settings/account_tab.h"

#include "cloud/cloud_account.h"
#include "ui/settings/settings_texts.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QDesktopServices>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace ravo::ui {

namespace {

QHBoxLayout* row(QWidget* field, QPushButton* button) {
    auto* layout = new QHBoxLayout;
    layout->addWidget(field, 1);
    layout->addWidget(button);
    return layout;
}

} // namespace

AccountTab::AccountTab(const Coordinators& coordinators, QWidget* parent)
    : QWidget(parent), coordinators_(coordinators), account_(coordinators.cloudAccount) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(8);
    const QColor muted = Theme::mutedText(palette());

    layout->addWidget(heading("Ravo server", 14));
    server_ = new QLineEdit;
    server_->setPlaceholderText("https://ravo.example.org");
    auto* use = new QPushButton("Use");
    layout->addLayout(row(server_, use));
    layout->addWidget(wrappedLabel(SettingsTexts::kServerHelp, muted));
    serverError_ = wrappedLabel({}, Theme::errorText(palette()));
    serverError_->hide();
    layout->addWidget(serverError_);
    connect(use, &QPushButton::clicked, this, [this] { useServer(); });
    connect(server_, &QLineEdit::returnPressed, this, [this] { useServer(); });
    layout->addWidget(separator());
    nameServerFirst_ = wrappedLabel(kNameServerFirst, palette().color(QPalette::WindowText));
    layout->addWidget(nameServerFirst_);

    signedOut_ = new QWidget;
    auto* out = new QVBoxLayout(signedOut_);
    out->setContentsMargins(0, 0, 0, 0);
    out->addWidget(wrappedLabel(SettingsTexts::kSignInHelp, palette().color(QPalette::WindowText)));
    email_ = new QLineEdit;
    email_->setPlaceholderText("you@example.org");
    sendCode_ = new QPushButton("Send code");
    out->addLayout(row(email_, sendCode_));
    codeRow_ = new QWidget;
    auto* codeLayout = new QVBoxLayout(codeRow_);
    codeLayout->setContentsMargins(0, 0, 0, 0);
    codeSent_ = wrappedLabel({}, muted);
    codeLayout->addWidget(codeSent_);
    code_ = new QLineEdit;
    code_->setPlaceholderText("6-digit code");
    code_->setMaxLength(12);
    verify_ = new QPushButton("Sign in");
    codeLayout->addLayout(row(code_, verify_));
    out->addWidget(codeRow_);
    password_ = new QLineEdit;
    password_->setEchoMode(QLineEdit::Password);
    password_->setPlaceholderText("Password, for accounts that have one");
    passwordSignIn_ = new QPushButton("Sign in with password");
    out->addLayout(row(password_, passwordSignIn_));
    apple_ = new QPushButton("Sign in with Apple");
    auto* appleRow = new QHBoxLayout;
    appleRow->addWidget(apple_);
    appleRow->addStretch();
    out->addLayout(appleRow);
    appleNote_ = wrappedLabel(SettingsTexts::kAppleInBrowser, muted);
    out->addWidget(appleNote_);
    layout->addWidget(signedOut_);

    const auto email = [this] { return email_->text().toStdString(); };
    connect(sendCode_, &QPushButton::clicked, this,
            [this, email] { account_->requestEmailCode(email()); });
    connect(email_, &QLineEdit::returnPressed, sendCode_, &QPushButton::click);
    connect(verify_, &QPushButton::clicked, this,
            [this] { account_->verifyEmailCode(code_->text().toStdString()); });
    connect(code_, &QLineEdit::returnPressed, verify_, &QPushButton::click);
    connect(passwordSignIn_, &QPushButton::clicked, this, [this, email] {
        const std::string password = password_->text().toStdString();
        password_->clear();
        account_->signIn(email(), password);
    });
    connect(password_, &QLineEdit::returnPressed, passwordSignIn_, &QPushButton::click);
    connect(apple_, &QPushButton::clicked, this, [this] { signInWithApple(); });

    signedIn_ = new QWidget;
    auto* in = new QVBoxLayout(signedIn_);
    in->setContentsMargins(0, 0, 0, 0);
    who_ = heading({}, 14);
    in->addWidget(who_);
    plan_ = wrappedLabel({}, muted);
    in->addWidget(plan_);
    auto* buttons = new QHBoxLayout;
    signOut_ = new QPushButton("Sign out");
    delete_ = new QPushButton("Delete account…");
    buttons->addWidget(signOut_);
    buttons->addWidget(delete_);
    buttons->addStretch();
    in->addLayout(buttons);
    layout->addWidget(signedIn_);
    connect(signOut_, &QPushButton::clicked, this,
            [this] { coordinators_.cloudAccount->signOut(); });
    connect(delete_, &QPushButton::clicked, this, &AccountTab::confirmDeletion);

    error_ = wrappedLabel({}, Theme::errorText(palette()));
    layout->addWidget(error_);
    layout->addStretch();

    server_->setText(account_->server());
    connect(account_, &cloud::CloudAccount::changed, this, &AccountTab::sync);
    learnSignInMethods();
}

QCoro::Task<> AccountTab::learnSignInMethods() {
    methods_.reset();
    sync();
    const QString asked = account_->server();
    if (asked.isEmpty())
        co_return;
    const QPointer<AccountTab> self(this);
    auto answer = co_await account_->client().signInMethods();
    if (!self || account_->server() != asked)
        co_return; // gone, or another server named meanwhile
    // A server that cannot say (unreachable, or older than the question) gets no Apple button.
    const auto* told = std::get_if<wire::SignInMethods>(&answer);
    methods_ = told ? *told : wire::SignInMethods{};
    sync();
}

void AccountTab::sync() {
    const bool working = account_->isWorking();
    const auto& me = account_->me();
    const bool named = !account_->server().isEmpty();
    nameServerFirst_->setVisible(!named && !me);
    signedOut_->setVisible(named && !me);
    const wire::SignInMethods offered = methods_.value_or(wire::SignInMethods{});
    for (QWidget* control : {static_cast<QWidget*>(email_), static_cast<QWidget*>(sendCode_)})
        control->setVisible(offered.emailCode);
    for (QWidget* control :
         {static_cast<QWidget*>(password_), static_cast<QWidget*>(passwordSignIn_)})
        control->setVisible(offered.password);
    apple_->setVisible(offered.apple);
    signedIn_->setVisible(me.has_value());
    if (me) {
        who_->setText("Signed in as " +
                      QString::fromStdString(cloud::CloudAccount::displayEmail(me->email)));
        plan_->setText(QString("Plan: %1 · up to %2 websites · checks as often as every %3 min")
                           .arg(QString::fromStdString(me->plan))
                           .arg(me->maxSites)
                           .arg(me->minIntervalMinutes));
    }
    const auto& pending = account_->pendingEmail();
    codeRow_->setVisible(pending.has_value());
    if (pending)
        codeSent_->setText(QString::fromStdString("We sent a 6-digit code to " + pending->email +
                                                  ". It expires in 10 minutes."));
    appleNote_->setVisible(account_->isWaitingForApple());
    for (QWidget* control : std::initializer_list<QWidget*>{sendCode_, verify_, passwordSignIn_,
                                                            apple_, signOut_, delete_, server_})
        control->setEnabled(!working);
    const auto& error = account_->error();
    error_->setText(error ? QString::fromStdString(*error) : QString());
    error_->setVisible(error.has_value());
}

QCoro::Task<> AccountTab::useServer() {
    const QString address = server_->text();
    const bool used = co_await account_->setServer(address);
    serverError_->setText(used ? QString() : SettingsTexts::kServerInvalid);
    serverError_->setVisible(!used);
    if (used) {
        server_->setText(account_->server());
        co_await learnSignInMethods();
    }
}

QCoro::Task<> AccountTab::signInWithApple() {
    const auto page = co_await account_->startAppleSignIn();
    if (page)
        QDesktopServices::openUrl(*page);
}

void AccountTab::confirmDeletion() {
    QMessageBox box(QMessageBox::Warning, "Delete your Ravo account?", "Delete your Ravo account?",
                    QMessageBox::Cancel, this);
    box.setInformativeText("Your websites stop being monitored and their history is deleted.");
    QPushButton* confirm = box.addButton("Delete Account", QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == confirm)
        coordinators_.cloudAccount->deleteAccount();
}

} // namespace ravo::ui
