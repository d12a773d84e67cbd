#include "cloud/cloud_account.h"
#include "cloud/website_monitor.h"
#include "common/http_transport.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/temporary_folder.h"
#include "ui/settings/websites_tab.h"

#include <QCoro/QCoroTask>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

// The Websites tab of a signed-in app on the real ravo-server, without a checker.
class WebsitesTabTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(server.start({"--checker", "off"}));
        settings.setValue(cloud::CloudAccount::kServerKey, server.origin());
        account = std::make_unique<cloud::CloudAccount>(
            settings, std::make_shared<ravo::testing::MemorySecretStore>(),
            std::make_shared<common::NetworkTransport>());
        QCoro::waitFor(account->signIn(ravo::testing::RavoServerProcess::kEmail,
                                       ravo::testing::RavoServerProcess::kPassword));
        ASSERT_TRUE(account->isSignedIn()) << account->error().value_or("");
        cloud::WebsiteMonitor::Options options;
        options.pollInterval = std::chrono::milliseconds(300);
        options.publishesToWidget = false;
        monitor = std::make_unique<cloud::WebsiteMonitor>(*account, nullptr, settings, options);
        tab = std::make_unique<WebsitesTab>(monitor.get());
        tab->resize(640, 520);
        tab->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(tab.get()));
        for (auto* field : tab->findChildren<QLineEdit*>())
            if (field->placeholderText().startsWith("example.com"))
                address = field;
        for (auto* button : tab->findChildren<QPushButton*>())
            if (button->text() == "Remove")
                remove = button;
        ASSERT_NE(address, nullptr);
        ASSERT_NE(remove, nullptr);
    }

    bool add(const QString& text) {
        address->setText(text);
        return tab->addFromFields();
    }
    QString row(int index) const { return tab->list()->topLevelItem(index)->text(1); }
    int top(const QWidget* widget) const { return widget->mapTo(tab.get(), QPoint(0, 0)).y(); }
    // Visible labels saying `text`, by where they are: above the Add form or in it.
    std::pair<int, int> shown(const QString& text) const {
        std::pair<int, int> found;
        for (auto* label : tab->findChildren<QLabel*>())
            if (label->isVisible() && label->text() == text)
                ++(top(label) < top(address) ? found.first : found.second);
        return found;
    }

    ravo::testing::TemporaryFolder folder;
    ravo::testing::RavoServerProcess server{folder.path()};
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    std::unique_ptr<cloud::CloudAccount> account;
    std::unique_ptr<cloud::WebsiteMonitor> monitor;
    std::unique_ptr<WebsitesTab> tab;
    QLineEdit* address = nullptr;
    QPushButton* remove = nullptr;
};

// An added or removed site shows in the list at once, not at the next poll; a write the
// server is not there for is the list's failure, said above the Add form, and gone when the
// server is back.
TEST_F(WebsitesTabTest, AnEditShowsAtOnceAndAFailedWriteIsTheListsNotTheForms) {
    monitor->start();
    ASSERT_TRUE(add("shop.example"));
    EXPECT_EQ(tab->list()->topLevelItemCount(), 1);
    ASSERT_TRUE(add("blog.example"));
    ASSERT_EQ(tab->list()->topLevelItemCount(), 2);
    EXPECT_EQ(row(1), "https://blog.example");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !monitor->isSyncing(); }, 10000));

    tab->list()->topLevelItem(0)->setSelected(true);
    remove->click();
    ASSERT_EQ(tab->list()->topLevelItemCount(), 1);
    EXPECT_EQ(row(0), "https://blog.example");

    server.stop();
    ASSERT_TRUE(add("docs.example"));
    ASSERT_EQ(tab->list()->topLevelItemCount(), 2);
    EXPECT_EQ(row(1), "https://docs.example");
    ASSERT_TRUE(QTest::qWaitFor([&] { return monitor->lastError().has_value(); }, 10000));
    QTest::qWait(20);
    const QString failure = QString::fromStdString(*monitor->lastError());
    EXPECT_EQ(shown(failure), std::make_pair(1, 0)) << failure.toStdString();
    EXPECT_EQ(tab->list()->topLevelItemCount(), 2) << "the site waits for the server";

    ASSERT_NO_FATAL_FAILURE(server.restart());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !monitor->lastError(); }, 10000));
    QTest::qWait(20);
    EXPECT_EQ(shown(failure), std::make_pair(0, 0));
    ASSERT_EQ(tab->list()->topLevelItemCount(), 2);
    EXPECT_EQ(row(1), "https://docs.example");
}

} // namespace
} // namespace ravo::ui
