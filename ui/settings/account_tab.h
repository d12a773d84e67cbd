#pragma once

#include "ui/coordinators.h"
#include "wire/sign_in_methods.h"
#include <QWidget>

#include <qcoro/qcorotask.h>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace ravo::cloud {
class CloudAccount;
}

namespace ravo::ui {

// The Ravo server's address and this computer's sign-in: by e-mail code, password or
// Apple; the signed-in account with its plan, sign-out and deletion.
class AccountTab : public QWidget {
    Q_OBJECT
public:
    static constexpr const char* kNameServerFirst =
        "Name your Ravo server above to sign in: the sign-in belongs to the server.";

    explicit AccountTab(const Coordinators& coordinators, QWidget* parent = nullptr);

private:
    void sync();
    QCoro::Task<> useServer();
    // Asks the server which sign-ins it offers; until it says, the code and the password.
    QCoro::Task<> learnSignInMethods();
    QCoro::Task<> signInWithApple();
    void confirmDeletion();

    Coordinators coordinators_;
    cloud::CloudAccount* account_;
    QLineEdit* server_;
    QLabel* serverError_;
    QLabel* nameServerFirst_;
    std::optional<wire::SignInMethods> methods_;
    QWidget* signedOut_;
    QLineEdit* email_;
    QPushButton* sendCode_;
    QWidget* codeRow_;
    QLabel* codeSent_;
    QLineEdit* code_;
    QPushButton* verify_;
    QLineEdit* password_;
    QPushButton* passwordSignIn_;
    QPushButton* apple_;
    QLabel* appleNote_;
    QWidget* signedIn_;
    QLabel* who_;
    QLabel* plan_;
    QPushButton* signOut_;
    QPushButton* delete_;
    QLabel* error_;
};

} // namespace ravo::ui
