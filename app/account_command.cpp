#include "app/cloud_services.h"
#include "app/commands.h"
#include "cloud/cloud_account.h"
#include "common/settings_values.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>

#include <iostream>
#include <optional>
#include <termios.h>
#include <unistd.h>

namespace ravo::app {

using namespace cloud;

namespace {

// Nothing at the end of the input (Ctrl-D), unlike an empty line.
std::optional<std::string> readLine(bool secret) {
    termios saved{};
    const bool terminal = secret && isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved) == 0;
    if (terminal) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string line;
    const bool read = bool(std::getline(std::cin, line));
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::cerr << "\n";
    }
    if (!read && line.empty())
        return std::nullopt;
    return line;
}

constexpr const char* kNoCodeText = "Sign-in cancelled: no code was entered.";

int failed(const CloudAccount& account) {
    std::cerr << account.error().value_or("The sign-in failed.") << "\n";
    return 1;
}

void printStatus(const CloudAccount& account) {
    std::cout << "Server: " << account.server().toStdString() << "\n";
    if (!account.isSignedIn()) {
        std::cout << "Not signed in. Sign in with `ravo account signin --email ADDRESS`.\n";
        return;
    }
    const wire::CloudMe& me = *account.me();
    std::cout << "Signed in as " << CloudAccount::displayEmail(me.email) << "\n"
              << "Plan: " << me.plan << ", up to " << me.maxSites << " websites, checked every "
              << me.minIntervalMinutes << " min at the most often\n";
}

QCoro::Task<int> run(CloudAccount& account, AccountRequest request) {
    co_await account.resumed();
    if (account.error() && request.action != "status") {
        std::cerr << *account.error() << "\n";
        co_return 1;
    }
    if (request.action == "status") {
        if (account.isSignedIn())
            co_await account.refresh();
        if (account.error())
            std::cerr << *account.error() << "\n";
        printStatus(account);
        co_return 0;
    }
    if (request.action == "signout") {
        if (account.isSignedIn())
            co_await account.signOut();
        std::cout << "Signed out.\n";
        co_return 0;
    }
    // signin
    bool serverTaken = true;
    if (request.server) {
        const QString origin = QString::fromStdString(*request.server);
        serverTaken = co_await account.setServer(origin);
    }
    if (!serverTaken) {
        std::cerr << "\"" << *request.server
                  << "\" is not a server address such as https://ravo.example.org\n";
        co_return 2;
    }
    if (request.passwordFromStandardInput) {
        std::string password = readLine(true).value_or("");
        co_await account.signIn(request.email, std::move(password));
    } else {
        co_await account.requestEmailCode(request.email);
        if (!account.pendingEmail())
            co_return failed(account);
        std::cerr << "We sent a 6-digit code to " << account.pendingEmail()->email
                  << ". It expires in 10 minutes.\nCode: " << std::flush;
        auto code = readLine(false);
        if (!code) {
            std::cerr << "\n" << kNoCodeText << "\n";
            co_return 1;
        }
        co_await account.verifyEmailCode(std::move(*code));
    }
    if (!account.isSignedIn())
        co_return failed(account);
    printStatus(account);
    co_return 0;
}

} // namespace

int runAccountCommand(const AccountRequest& request) {
    auto settings = common::openUserSettings();
    const auto cloud = CloudServices::forThisComputer();
    CloudAccount account(*settings, cloud.secrets, cloud.transport);
    return QCoro::waitFor(run(account, request));
}

} // namespace ravo::app
