#include "app/app_controller.h"
#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "common/launch_at_login.h"
#include "sessions/session_tracker.h"
#include "tests/support/http_stand_in.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/temporary_folder.h"
#include "tests/ui/widget_checks.h"
#include "ui/dashboard_window.h"
#include "ui/popovers/site_history_view.h"
#include "ui/popovers/websites_view.h"
#include "ui/settings/account_tab.h"
#include "ui/settings/alerts_tab.h"
#include "ui/settings/settings_window.h"
#include "ui/settings/websites_tab.h"
#include "ui/widgets/popover_window.h"
#include "usage/usage_coordinator.h"
#include "wire/site_url.h"

#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QListView>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

using testing::clippedLabels;
using testing::visibleText;

struct SilentNotifications final : UserNotifications {
    void requestAuthorization(Failure) override {}
    void post(const UserNotification&, Failure) override {}
};

template <typename T> T* child(QWidget& root, const QString& text) {
    for (T* widget : root.findChildren<T*>())
        if (widget->text() == text)
            return widget;
    ADD_FAILURE() << "no " << text.toStdString();
    return nullptr;
}

QLineEdit* fieldWithHint(QWidget& root, const QString& hint) {
    for (auto* field : root.findChildren<QLineEdit*>())
        if (field->placeholderText() == hint)
            return field;
    ADD_FAILURE() << "no field " << hint.toStdString();
    return nullptr;
}

// The app's controller with the cloud services of a signed-out user in `home`.
std::unique_ptr<app::AppController> makeController(const ravo::testing::TemporaryHome& home,
                                                   QSettings& settings,
                                                   UserNotifications& notifications,
                                                   std::chrono::milliseconds pollInterval) {
    app::AppController::Services services;
    services.cloud = {std::make_shared<ravo::testing::MemorySecretStore>(),
                      std::make_shared<common::NetworkTransport>()};
    services.notifications = &notifications;
    services.websites.pollInterval = pollInterval;
    services.websites.widgetFile = home.path() / "websites.json";
    return std::make_unique<app::AppController>(
        &settings, sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
        std::move(services));
}

// A signed-in app against the real ravo-server, checking three loopback sites every second:
// one up, one answering 503, and one switched off.
class WebsiteViewsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(server.start({"--check-minute", "1", "--check-timeout", "1",
                                              "--check-allow-networks", "127.0.0.1/32"}));
        settings.setValue(cloud::CloudAccount::kServerKey, server.origin());
        settings.setValue("websiteCheckIntervalMinutes", 1);
        controller = makeController(home, settings, notifications, std::chrono::milliseconds(300));
        account = controller->coordinators().cloudAccount;
        monitor = controller->coordinators().websiteMonitor;
        QCoro::waitFor(account->signIn(ravo::testing::RavoServerProcess::kEmail,
                                       ravo::testing::RavoServerProcess::kPassword));
        ASSERT_TRUE(account->isSignedIn()) << account->error().value_or("");
        monitor->start();
    }

    void addSites() {
        ASSERT_EQ(monitor->add("Shop", shop.url(), ""), std::nullopt);
        ASSERT_EQ(monitor->add("API", api.url(), ""), std::nullopt);
        ASSERT_EQ(monitor->add("Old blog", "https://blog.example.org/", ""), std::nullopt);
        monitor->setEnabled(false, monitor->sites().back().id);
        const auto health = [this](std::size_t i) {
            return monitor->state(monitor->sites()[i].id).health;
        };
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return health(0) == cloud::SiteState::Health::up &&
                       health(1) == cloud::SiteState::Health::down;
            },
            20000));
    }

    ravo::testing::TemporaryHome home;
    ravo::testing::RavoServerProcess server{home.path()};
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    ravo::testing::LoopbackWebsite shop;
    ravo::testing::LoopbackWebsite api{503};
    SilentNotifications notifications;
    std::unique_ptr<app::AppController> controller;
    cloud::CloudAccount* account = nullptr;
    cloud::WebsiteMonitor* monitor = nullptr;
};

TEST_F(WebsiteViewsTest, SettingsShowTheAccountTheSitesAndTheAlerts) {
    ASSERT_NO_FATAL_FAILURE(addSites());
    SettingsWindow window(controller->coordinators());
    window.resize(720, 560);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.showTab(SettingsWindow::kAccountTab);
    ASSERT_EQ(window.pageTitles().value(window.currentPage()), "Account");

    window.showTab(SettingsWindow::kAccountTab);
    QTest::qWait(5);
    EXPECT_NE(visibleText(window).find("Signed in as ada@example.org"), std::string::npos);
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-account");

    window.showTab(SettingsWindow::kWebsitesTab);
    QTest::qWait(5);
    auto* list = window.findChild<QTreeWidget*>();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->topLevelItemCount(), 3);
    EXPECT_EQ(list->topLevelItem(0)->text(2), "Up");
    // States carry their age: since when a site is down, how long ago it was checked.
    EXPECT_TRUE(
        list->topLevelItem(1)->text(2).contains(QRegularExpression("^Down since \\d\\d:\\d\\d$")))
        << list->topLevelItem(1)->text(2).toStdString();
    EXPECT_EQ(list->topLevelItem(1)->text(3), "The server answered HTTP 503");
    EXPECT_EQ(list->topLevelItem(0)->text(4), "just now");
    EXPECT_EQ(list->topLevelItem(2)->text(4), "");
    EXPECT_EQ(list->topLevelItem(2)->text(2), "Paused");
    EXPECT_NE(visibleText(window).find("A site counts as down after two failed checks"),
              std::string::npos);
    testing::saveScreenshot(window, "settings-websites");

    // Input errors appear under the fields, and nothing is added.
    auto* tab = window.findChild<WebsitesTab*>();
    QLineEdit* address = fieldWithHint(*tab, "example.com or https://example.com/health/");
    ASSERT_NE(address, nullptr);
    address->setText("ftp://example.org");
    EXPECT_FALSE(tab->addFromFields());
    EXPECT_NE(visibleText(window).find("Enter a web address such as example.com"),
              std::string::npos);
    address->setText(QString::fromStdString(shop.url()));
    EXPECT_FALSE(tab->addFromFields());
    EXPECT_NE(visibleText(window).find("This address is already monitored."), std::string::npos);
    address->setText("status.example.org");
    EXPECT_TRUE(tab->addFromFields());
    EXPECT_EQ(list->topLevelItemCount(), 4);
    EXPECT_EQ(address->text(), "");
    // Switching a site off in the list reaches the monitor.
    list->topLevelItem(3)->setCheckState(0, Qt::Unchecked);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !monitor->sites().back().isEnabled; }));

    window.showTab(SettingsWindow::kAlertsTab);
    QTest::qWait(5);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller->coordinators().telegram->isWorking(); }));
    EXPECT_NE(visibleText(window).find("The Ravo server sends website alerts to Telegram"),
              std::string::npos);
    EXPECT_NE(visibleText(window).find("With the server's own bot no token is needed"),
              std::string::npos);
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-alerts");
    auto* desktop = child<QCheckBox>(window, "Desktop alerts");
    ASSERT_NE(desktop, nullptr);
    EXPECT_TRUE(desktop->isChecked());
    desktop->click();
    EXPECT_FALSE(controller->coordinators().alertNotifier->desktopEnabled());

    // Signed out, the tabs say where to sign in, and the account tab offers the ways.
    QCoro::waitFor(controller->coordinators().cloudAccount->signOut());
    EXPECT_NE(visibleText(window).find("Sign in to your Ravo account in the Account tab."),
              std::string::npos);
    window.showTab(SettingsWindow::kAccountTab);
    QTest::qWait(5);
    EXPECT_NE(child<QPushButton>(window, "Send code"), nullptr);
    QTest::qWait(700); // a poll sent before signing out comes back refused
    EXPECT_EQ(visibleText(window).find("Sign in again"), std::string::npos);
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-account-signed-out");
}

// Nine pages and more: at the window's first size every page's name reads in full, and each
// page opens by its name.
TEST_F(WebsiteViewsTest, SettingsNamesEveryPageInFullAtItsFirstSize) {
    SettingsWindow window(controller->coordinators());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const QStringList titles = window.pageTitles();
    ASSERT_GE(titles.size(), 8) << titles.join(", ").toStdString();
    QListView* list = window.pageList();
    const QRect shown = list->viewport()->rect();
    for (int row = 0; row < titles.size(); ++row) {
        const QRect box = list->visualRect(list->model()->index(row, 0));
        EXPECT_TRUE(shown.contains(box)) << titles[row].toStdString() << " out of sight";
        EXPECT_GE(box.width(), list->fontMetrics().horizontalAdvance(titles[row]) + 8)
            << titles[row].toStdString() << " cut short";
    }
    const std::pair<SettingsWindow::Tab, const char*> pages[] = {
        {SettingsWindow::kAlertsTab, "Alerts"},
        {SettingsWindow::kGeneralTab, "General"},
        {SettingsWindow::kWebsitesTab, "Websites"},
        {SettingsWindow::kSyncTab, "Sync"},
        {SettingsWindow::kAccountTab, "Account"}};
    for (const auto& [tab, title] : pages) {
        window.showTab(tab);
        QTest::qWait(5);
        EXPECT_EQ(window.pageTitles().value(window.currentPage()), title);
        EXPECT_TRUE(clippedLabels(window).empty()) << title;
    }
    EXPECT_NE(visibleText(window).find("Signed in as"), std::string::npos);
    // Choosing a name in the list shows its page.
    window.setCurrentPage(static_cast<int>(titles.indexOf("General")));
    QTest::qWait(5);
    EXPECT_NE(visibleText(window).find("About Ravo"), std::string::npos);
    EXPECT_EQ(visibleText(window).find("Signed in as"), std::string::npos);
    testing::saveScreenshot(window, "settings-pages");
}

TEST_F(WebsiteViewsTest, ThePopoverPutsTheSiteThatIsDownFirstAndTheHistoryShowsItsRecord) {
    ASSERT_NO_FATAL_FAILURE(addSites());
    auto* view = new WebsitesView(monitor);
    PopoverWindow popover(view);
    popover.showAt(QRect(900, 0, 24, 24));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
    const std::string text = visibleText(popover);
    EXPECT_NE(text.find("API is down"), std::string::npos) << text;
    EXPECT_LT(text.find("API\n"), text.find("Shop\n")) << text;
    EXPECT_TRUE(clippedLabels(popover).empty());
    testing::saveScreenshot(popover, "websites-popover");

    SiteHistoryView history(monitor, monitor->sites()[1]);
    history.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&history));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return visibleText(history).find("Loading") == std::string::npos; }));
    QTest::qWait(20); // the rows added to a shown layout appear on the next pass
    const std::string record = visibleText(history);
    EXPECT_NE(record.find("Last 24 hours"), std::string::npos) << record;
    EXPECT_NE(record.find("0.00 %"), std::string::npos) << record;
    EXPECT_NE(record.find("ongoing"), std::string::npos) << record;
    EXPECT_TRUE(clippedLabels(history).empty());
    testing::saveScreenshot(history, "site-history");
}

// Two sites without names on one host are told apart, and each row says which site it is
// and how old its state is.
TEST_F(WebsiteViewsTest, RowsNameEachSiteByItsAddressAndSayHowOldTheStateIs) {
    ASSERT_NO_FATAL_FAILURE(addSites());
    ASSERT_EQ(monitor->add("", shop.url() + "health", ""), std::nullopt);
    ASSERT_EQ(monitor->add("", shop.url() + "status?full=1", ""), std::nullopt);
    const std::string hostAndPort =
        shop.url().substr(std::string("http://").size(), shop.url().size() - 8);
    auto* view = new WebsitesView(monitor);
    PopoverWindow popover(view);
    popover.showAt(QRect(900, 0, 24, 24));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
    const std::string text = visibleText(popover);
    EXPECT_NE(text.find(hostAndPort + "/health\n"), std::string::npos) << text;
    EXPECT_NE(text.find(hostAndPort + "/status?full=1\n"), std::string::npos) << text;
    // A named site shows its address under the name; a down one since when it is down.
    EXPECT_NE(text.find("Shop\n" + hostAndPort + " · checked just now"), std::string::npos) << text;
    EXPECT_TRUE(QRegularExpression("API\n[^\n]* · down since \\d\\d:\\d\\d · checked")
                    .match(QString::fromStdString(text))
                    .hasMatch())
        << text;
    EXPECT_EQ(clippedLabels(popover), std::vector<std::string>{});

    SettingsWindow window(controller->coordinators());
    window.resize(720, 560);
    window.show();
    window.showTab(SettingsWindow::kWebsitesTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto* list = window.findChild<QTreeWidget*>();
    ASSERT_EQ(list->topLevelItemCount(), 5);
    EXPECT_EQ(list->topLevelItem(3)->text(0).toStdString(), hostAndPort + "/health");
    EXPECT_EQ(list->topLevelItem(4)->text(0).toStdString(), hostAndPort + "/status?full=1");
}

// Without a tray the overview window lists the websites as their popover does.
TEST_F(WebsiteViewsTest, WithoutATrayTheOverviewWindowShowsTheWebsites) {
    ASSERT_NO_FATAL_FAILURE(addSites());
    DashboardWindow window(controller->coordinators(), &settings);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::qWait(20);
    const std::string text = textOfEveryPage(window);
    EXPECT_NE(text.find("Websites\n"), std::string::npos) << text;
    EXPECT_NE(text.find("API is down"), std::string::npos) << text;
    EXPECT_NE(text.find("The server answered HTTP 503"), std::string::npos) << text;
    EXPECT_NE(text.find("Old blog"), std::string::npos) << text;
    QSignalSpy settingsAsked(&window, &DashboardWindow::settingsRequested);
    child<QPushButton>(window, "Websites settings…")->click();
    EXPECT_EQ(settingsAsked.size(), 1);
}

// A failure to read the states shows with the list, not under the Add form; a refused
// address shows under the Add form.
TEST_F(WebsiteViewsTest, EachErrorShowsWhereItBelongs) {
    ASSERT_NO_FATAL_FAILURE(addSites());
    SettingsWindow window(controller->coordinators());
    window.resize(720, 560);
    window.show();
    window.showTab(SettingsWindow::kWebsitesTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto* tab = window.findChild<WebsitesTab*>();
    auto* list = window.findChild<QTreeWidget*>();
    QLineEdit* address = fieldWithHint(*tab, "example.com or https://example.com/health/");
    ASSERT_NE(address, nullptr);
    server.stop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return monitor->lastError().has_value(); }, 10000));
    QTest::qWait(20);
    const QString failure = QString::fromStdString(*monitor->lastError());
    QLabel* shown = nullptr;
    for (auto* label : tab->findChildren<QLabel*>())
        if (label->isVisible() && label->text() == failure)
            shown = label;
    ASSERT_NE(shown, nullptr) << failure.toStdString();
    const auto top = [&](QWidget* widget) { return widget->mapTo(tab, QPoint(0, 0)).y(); };
    EXPECT_GT(top(shown), top(list));
    EXPECT_LT(top(shown), top(address));

    address->setText("ftp://example.org");
    EXPECT_FALSE(tab->addFromFields());
    QLabel* refused = child<QLabel>(*tab, "Enter a web address such as example.com or "
                                          "https://example.com/health/.");
    ASSERT_NE(refused, nullptr);
    EXPECT_GT(top(refused), top(address));
}

// A new user signs in from the Account tab with the code ravo-server mails to a real SMTP
// server on loopback.
// No server until the user names one, and only the sign-ins the named server offers: Apple's
// where its operator set it up, and not elsewhere.
TEST(AccountTab, OffersOnlyTheSignInsTheNamedServerReports) {
    ravo::testing::TemporaryHome home;
    const auto folder = [&](const char* name) {
        std::filesystem::create_directories(home.path() / name);
        return home.path() / name;
    };
    const QString key = QString::fromStdString((home.path() / "AuthKey.p8").string());
    ASSERT_EQ(QProcess::execute("openssl", {"genpkey", "-algorithm", "EC", "-pkeyopt",
                                            "ec_paramgen_curve:P-256", "-out", key}),
              0);
    ravo::testing::RavoServerProcess withApple{folder("apple")};
    ASSERT_NO_FATAL_FAILURE(
        withApple.start({"--checker", "off", "--apple-client-id", "io.example.ravo.web",
                         "--apple-team-id", "TEAM123456", "--apple-key-id", "KEY1234567",
                         "--apple-private-key", key, "--apple-url", "http://127.0.0.1:9"}));
    ravo::testing::RavoServerProcess plain{folder("plain")};
    ASSERT_NO_FATAL_FAILURE(plain.start({"--checker", "off"}));
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    SilentNotifications notifications;
    const auto controller = makeController(home, settings, notifications, std::chrono::seconds(60));
    AccountTab tab(controller->coordinators());
    tab.resize(640, 560);
    tab.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&tab));
    QLineEdit* address = fieldWithHint(tab, "https://ravo.example.org");
    ASSERT_NE(address, nullptr);
    auto* apple = child<QPushButton>(tab, "Sign in with Apple");
    auto* sendCode = child<QPushButton>(tab, "Send code");
    ASSERT_TRUE(apple && sendCode);

    // Nothing named: an empty field with its hint, and no sign-in against a server of ours.
    EXPECT_TRUE(address->text().isEmpty());
    EXPECT_NE(visibleText(tab).find(AccountTab::kNameServerFirst), std::string::npos);
    EXPECT_FALSE(sendCode->isVisible());
    EXPECT_FALSE(apple->isVisible());

    const auto use = [&](const QString& origin) {
        address->setText(origin);
        child<QPushButton>(tab, "Use")->click();
    };
    use(withApple.origin());
    EXPECT_TRUE(QTest::qWaitFor([&] { return apple->isVisible(); }, 10000));
    EXPECT_TRUE(sendCode->isVisible());
    EXPECT_EQ(visibleText(tab).find(AccountTab::kNameServerFirst), std::string::npos);

    use(plain.origin());
    QTest::qWait(1500); // its answer, which would bring the button back
    EXPECT_FALSE(apple->isVisible());
    EXPECT_TRUE(sendCode->isVisible());
    EXPECT_TRUE(child<QPushButton>(tab, "Sign in with password")->isVisible());
    EXPECT_EQ(settings.value(cloud::CloudAccount::kServerKey).toString(), plain.origin());
}

TEST(AccountTab, SignsInWithTheMailedCode) {
    ravo::testing::TemporaryHome home;
    const QString mailbox = QString::fromStdString((home.path() / "mail").string());
    const quint16 smtpPort = ravo::testing::freeLoopbackPort();
    QProcess smtp;
    smtp.start("/usr/bin/python3",
               {"-m", "aiosmtpd", "-n", "-l", QString("127.0.0.1:%1").arg(smtpPort), "-c",
                "aiosmtpd.handlers.Mailbox", mailbox});
    ASSERT_TRUE(smtp.waitForStarted());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, smtpPort);
            return probe.waitForConnected(100);
        },
        20000))
        << smtp.readAllStandardError().toStdString();
    ravo::testing::RavoServerProcess server{home.path()};
    ASSERT_NO_FATAL_FAILURE(server.start({"--smtp", QString("smtp://127.0.0.1:%1").arg(smtpPort),
                                          "--mail-from", "ravo@example.org"}));
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    SilentNotifications notifications;
    const auto controller = makeController(home, settings, notifications, std::chrono::seconds(60));
    SettingsWindow window(controller->coordinators());
    window.resize(720, 560);
    window.show();
    window.showTab(SettingsWindow::kAccountTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const auto field = [&](const QString& hint) {
        QLineEdit* found = fieldWithHint(window, hint);
        return found ? found : window.findChild<QLineEdit*>();
    };

    QLineEdit* address = field("https://ravo.example.org");
    address->setText(server.origin());
    child<QPushButton>(window, "Use")->click();
    QTest::keyClicks(field("you@example.org"), " ada@example.org ");
    child<QPushButton>(window, "Send code")->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(window).find("We sent a 6-digit code") != std::string::npos; },
        10000))
        << visibleText(window);

    QString code;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            for (const auto& name : QDir(mailbox + "/new").entryList(QDir::Files)) {
                QFile mail(mailbox + "/new/" + name);
                mail.open(QIODevice::ReadOnly);
                const auto found =
                    QRegularExpression("sign-in code: (\\d{6})").match(mail.readAll());
                if (found.hasMatch())
                    code = found.captured(1);
            }
            return !code.isEmpty();
        },
        10000));
    // A wrong code first: the user's words, and still waiting for the right one.
    QLineEdit* codeField = field("6-digit code");
    codeField->setText(code == "000000" ? "111111" : "000000");
    child<QPushButton>(window, "Sign in")->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return visibleText(window).find("The code is wrong or expired.") != std::string::npos;
        },
        10000))
        << visibleText(window);
    codeField->setText(code);
    child<QPushButton>(window, "Sign in")->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return controller->coordinators().cloudAccount->isSignedIn(); }, 10000))
        << visibleText(window);
    QTest::qWait(20);
    EXPECT_NE(visibleText(window).find("Signed in as ada@example.org"), std::string::npos);
    EXPECT_EQ(visibleText(window).find("wrong or expired"), std::string::npos);
    smtp.terminate();
    smtp.waitForFinished(5000);
}

} // namespace
} // namespace ravo::ui
