#include "tests/ui/views_fixture.h"
#include "ui/settings/sync_tab.h"

namespace ravo::ui {
namespace {

using namespace testing_views;

TEST_F(ViewsTest, SettingsWindowHasItsTabsTextsAndWorkingSwitches) {
    SettingsWindow window(controller->coordinators());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const QStringList tabs = window.pageTitles();
    EXPECT_EQ(tabs, (QStringList{"General", "Panel", "System", "AI", "Sessions", "Sync"}));
    const char* names[] = {"general", "panel", "system", "ai", "sessions", "sync"};
    for (int i = 0; i < std::min<int>(tabs.size(), std::size(names)); ++i) {
        window.setCurrentPage(i);
        QTest::qWait(5);
        EXPECT_TRUE(clippedLabels(window).empty()) << names[i];
        testing::saveScreenshot(window, QString("settings-") + names[i]);
        if (i == 3) {
            EXPECT_NE(visibleText(window).find(SettingsTexts::kReadClaudeLimitsHelp),
                      std::string::npos);
        }
        // Linux words: a panel, not a menu bar, and no widgets.
        EXPECT_EQ(visibleText(window).find("enu bar"), std::string::npos) << names[i];
        EXPECT_EQ(visibleText(window).find("widget"), std::string::npos) << names[i];
        if (i == 0) {
            EXPECT_NE(visibleText(window).find("About Ravo"), std::string::npos);
            EXPECT_NE(visibleText(window).find("Version 0."), std::string::npos);
        }
    }

    QCheckBox* tracking = nullptr;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == SettingsTexts::kTrackSessions)
            tracking = box;
    ASSERT_NE(tracking, nullptr);
    EXPECT_TRUE(tracking->isChecked());
    tracking->click();
    EXPECT_FALSE(controller->coordinators().sessions->tracksSessions());
    EXPECT_FALSE(sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").isInstalled());
}

// Regression: with hooks installed, the switch showed tracking off after a restart while
// the popover showed it on; the window had been built before the controller read the files.
TEST_F(ViewsTest, TheTrackingSwitchShowsWhatTheStartFoundInTheFiles) {
    sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").install();
    app::AppController::Services services;
    services.refresher = refresher.get();
    services.probe = probe.get();
    app::AppController restarted(&settings,
                                 sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
                                 std::move(services));
    SettingsWindow window(restarted.coordinators());
    restarted.start();
    QCheckBox* tracking = nullptr;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == SettingsTexts::kTrackSessions)
            tracking = box;
    ASSERT_NE(tracking, nullptr);
    EXPECT_TRUE(restarted.coordinators().sessions->tracksSessions());
    EXPECT_TRUE(tracking->isChecked());
    restarted.stop();
}

// Regression: the normal level was drawn green; it is the neutral style.
TEST_F(ViewsTest, OnlyTroubleHasAColour) {
    for (const char* scheme : {"light", "dark"}) {
        QPalette palette;
        if (std::string(scheme) == "dark") {
            palette.setColor(QPalette::Window, QColor(0x20, 0x20, 0x24));
            palette.setColor(QPalette::WindowText, QColor(0xee, 0xee, 0xee));
        }
        EXPECT_EQ(Theme::levelColor(metrics::MetricLevel::normal, palette),
                  palette.color(QPalette::WindowText))
            << scheme;
        EXPECT_NE(Theme::levelColor(metrics::MetricLevel::warning, palette),
                  palette.color(QPalette::WindowText));
        EXPECT_NE(Theme::levelColor(metrics::MetricLevel::critical, palette),
                  Theme::levelColor(metrics::MetricLevel::warning, palette));
    }
}

TEST_F(ViewsTest, PanelTabOrdersAndEnablesTheMetrics) {
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kPanelTab);
    auto* list = window.findChild<QListWidget*>();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->count(), static_cast<int>(metrics::kAllMetrics.size()));
    list->item(1)->setCheckState(Qt::Unchecked); // Graphics off
    list->setCurrentRow(5);                      // Temperature to the top
    for (auto* button : window.findChildren<QPushButton*>())
        if (button->text() == "Move up")
            for (int i = 0; i < 5; ++i)
                button->click();
    EXPECT_EQ(monitor->metricOrder().front(), metrics::SystemMetric::temperature);
    EXPECT_FALSE(monitor->enabledMetrics().contains(metrics::SystemMetric::gpu));
    // Graphics unticked, and swap, which this machine lacks, left unticked.
    EXPECT_EQ(monitor->visibleMetrics().size(), metrics::kAllMetrics.size() - 2);
    EXPECT_FALSE(monitor->isShown(metrics::SystemMetric::swap));
    QSettings reread(settings.fileName(), QSettings::IniFormat);
    EXPECT_EQ(reread.value("systemMetricOrder").toStringList().front(), "temperature");
}

TEST_F(ViewsTest, WithoutATrayTheOverviewWindowFitsKeepsItsSizeAndQuitsWhenClosed) {
    QRect placed;
    {
        DashboardWindow window(controller->coordinators(), &settings);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        const std::string text = textOfEveryPage(window);
        EXPECT_NE(text.find(DashboardWindow::kNoTrayText), std::string::npos);
        EXPECT_NE(text.find("Processor"), std::string::npos);
        EXPECT_NE(text.find("AI usage"), std::string::npos);
        // At its first size nothing scrolls.
        auto* scroll = window.findChild<QScrollArea*>();
        ASSERT_NE(scroll, nullptr);
        EXPECT_FALSE(scroll->verticalScrollBar()->isVisible())
            << window.width() << "x" << window.height() << " content " << scroll->widget()->width()
            << "x" << scroll->widget()->height() << " hint "
            << scroll->widget()->sizeHint().height() << " min "
            << scroll->widget()->minimumSizeHint().height();
        EXPECT_FALSE(scroll->horizontalScrollBar()->isVisible());
        testing::saveScreenshot(window, "dashboard-window");

        // The user's size survives the content changing under it.
        window.resize(900, 700);
        QTest::qWait(20);
        emit controller->coordinators().usage->snapshotChanged();
        emit controller->coordinators().sessions->sessionsChanged();
        QTest::qWait(20);
        EXPECT_EQ(window.size(), QSize(900, 700));
        placed = window.geometry();

        QSignalSpy quit(&window, &DashboardWindow::quitRequested);
        window.close();
        EXPECT_EQ(quit.count(), 1);
    }
    // It opens again the size it was left.
    DashboardWindow again(controller->coordinators(), &settings);
    again.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&again));
    EXPECT_EQ(again.size(), placed.size());

    // Kept running: closing hides it, says so the first time only, and does not quit.
    auto* keep = again.findChild<QCheckBox*>();
    ASSERT_NE(keep, nullptr);
    EXPECT_EQ(keep->text(), DashboardWindow::kKeepRunningText);
    keep->setChecked(true);
    QSignalSpy quit(&again, &DashboardWindow::quitRequested);
    QSignalSpy kept(&again, &DashboardWindow::keptRunning);
    again.close();
    again.show();
    again.close();
    EXPECT_EQ(quit.count(), 0);
    ASSERT_EQ(kept.count(), 2);
    EXPECT_TRUE(kept.at(0).at(0).toBool());
    EXPECT_FALSE(kept.at(1).at(0).toBool());
    EXPECT_TRUE(settings.value(DashboardWindow::kKeepRunningKey).toBool());

    // What changed while it was away is there when it comes back.
    controller->coordinators().sessions->setTracksSessions(false);
    again.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&again));
    QTest::qWait(20);
    EXPECT_NE(textOfEveryPage(again).find("Turn on “Track agent sessions” in Settings"),
              std::string::npos);
}

// The network detail and the Network tab with a real watchdog, fed by a probe that always
// answers slowly, and a speed test whose measuring tool is a script.
class ConnectionViewsTest : public ViewsTest {
protected:
    std::unique_ptr<connectivity::ConnectionWatchdog> makeWatchdog() {
        connectivity::ConnectionWatchdog::Services services;
        services.path = &path;
        services.notifications = &notifications;
        services.probe = [](const connectivity::ProbeAddress&) {
            return std::optional(connectivity::LatencySummary{312.4, 20.2});
        };
        services.settledInterval = std::chrono::milliseconds(50);
        services.unsettledInterval = std::chrono::milliseconds(50);
        return std::make_unique<connectivity::ConnectionWatchdog>(settings, std::move(services));
    }
    QString tool(const std::string& body) {
        const auto file = home.path() / "netquality";
        std::ofstream(file) << "#!/bin/sh\n" << body << "\n";
        ::chmod(file.c_str(), 0755);
        return QString::fromStdString(file.string());
    }
    QPushButton* button(QWidget& root, const QString& text) {
        for (auto* candidate : root.findChildren<QPushButton*>())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }

    ravo::testing::FakePathMonitor path;
    ravo::testing::RecordingNotifications notifications;
};

TEST_F(ConnectionViewsTest, TheNetworkDetailShowsTheConnectionAndRunsTheSpeedTest) {
    auto watchdog = makeWatchdog();
    connectivity::SpeedTest speedTest(
        settings, tool("sleep 0.3; echo '{\"dl_throughput\": 94500000, \"ul_throughput\": "
                       "12000000, \"responsiveness\": 640, \"base_rtt\": 14.2}'"));
    auto* view = new MetricDetailView(monitor.get(), metrics::SystemMetric::network,
                                      {watchdog.get(), &speedTest});
    auto popover = inPopover(view);
    EXPECT_NE(visibleText(*popover).find("Checking…"), std::string::npos);
    watchdog->start();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("Poor connection") != std::string::npos; }, 5000));
    EXPECT_NE(visibleText(*popover).find("Latency 312 ms · jitter 20 ms"), std::string::npos);
    path.set(false);
    EXPECT_NE(visibleText(*popover).find("You're offline"), std::string::npos);
    path.set(true);

    QPushButton* run = button(*popover, "Run speed test");
    ASSERT_NE(run, nullptr);
    run->click();
    EXPECT_NE(visibleText(*popover).find("Measuring… (about 20 s)"), std::string::npos);
    EXPECT_FALSE(run->isEnabled());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("94.5 Mb/s") != std::string::npos; }, 5000));
    const std::string text = visibleText(*popover);
    for (const char* figure : {"12 Mb/s", "640 RPM", "14 ms", "Interface"})
        EXPECT_NE(text.find(figure), std::string::npos) << figure << "\n" << text;
    EXPECT_EQ(text.find("Measuring"), std::string::npos);
    EXPECT_TRUE(run->isEnabled());
    popover->adjustSize();
    EXPECT_TRUE(clippedLabels(*popover).empty());
    testing::saveScreenshot(*popover, "detail-network-connection");
    watchdog->stop();
}

TEST_F(ConnectionViewsTest, AFailedSpeedTestSaysSoAndShowsNoFigures) {
    connectivity::SpeedTest speedTest(settings,
                                      tool("echo '{\"dl_throughput\": 94500000}'; exit 1"));
    auto* view =
        new MetricDetailView(monitor.get(), metrics::SystemMetric::network, {nullptr, &speedTest});
    auto popover = inPopover(view);
    button(*popover, "Run speed test")->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("The speed test failed.") != std::string::npos; },
        5000));
    EXPECT_EQ(visibleText(*popover).find("Mb/s"), std::string::npos);
}

TEST_F(ConnectionViewsTest, ThePopoverShowsTheLastTestEvenOneATerminalRan) {
    const QString answers = tool("echo '{\"dl_throughput\": 94500000}'");
    {
        connectivity::SpeedTest terminal(settings, answers);
        ASSERT_TRUE(QCoro::waitFor(terminal.run()));
    }
    connectivity::SpeedTest speedTest(settings, answers);
    auto popover = inPopover(
        new MetricDetailView(monitor.get(), metrics::SystemMetric::network, {nullptr, &speedTest}));
    const std::string text = visibleText(*popover);
    EXPECT_NE(text.find("Last test just now:"), std::string::npos) << text;
    EXPECT_NE(text.find("94.5 Mb/s"), std::string::npos) << text;
}

TEST_F(ConnectionViewsTest, TheNetworkTabStoresTheSwitchesAndExplainsABadAddress) {
    app::AppController::Services services;
    services.pathMonitor = &path;
    services.notifications = &notifications;
    app::AppController withNetwork(&settings,
                                   sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
                                   std::move(services));
    SettingsWindow window(withNetwork.coordinators());
    window.showTab(SettingsWindow::kNetworkTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const std::string text = visibleText(window);
    EXPECT_NE(text.find("Latency is checked once a minute with a tiny TCP connection to "
                        "1.1.1.1:443."),
              std::string::npos)
        << text;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == connectivity::ConnectionWatchdog::kLatencyText)
            box->click();
    EXPECT_FALSE(settings.value("latencyMonitoringEnabled", true).toBool());

    auto fields = window.findChildren<QLineEdit*>();
    ASSERT_GE(fields.size(), 2);
    QLineEdit* probeField = fields[0];
    QLineEdit* serverField = fields[1];
    probeField->setEnabled(true);
    probeField->setText("resolver");
    emit probeField->editingFinished();
    EXPECT_NE(visibleText(window).find("Give the address as host:port"), std::string::npos);
    probeField->setText("10.0.0.53:443");
    emit probeField->editingFinished();
    EXPECT_EQ(visibleText(window).find("Give the address as host:port"), std::string::npos);
    EXPECT_EQ(settings.value("latencyProbeAddress").toString(), "10.0.0.53:443");

    serverField->setText("ftp://example.org");
    emit serverField->editingFinished();
    EXPECT_NE(visibleText(window).find("Enter the server's address"), std::string::npos);
    serverField->setText("https://ravo.example.org");
    emit serverField->editingFinished();
    EXPECT_EQ(settings.value("speedTestServer").toString(),
              "https://ravo.example.org/api/v1/speedtest/config");
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-network");
}

TEST_F(ViewsTest, TheSyncTabOffersTheSyncedFoldersAtHomeAndShowsWhatWentWrong) {
    fs::create_directories(home.path() / "Nextcloud/Ravo");
    std::ofstream(home.path() / "Nextcloud/Ravo/settings.json") << "not json";
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kSyncTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_NE(visibleText(window).find("saved to Ravo/settings.json"), std::string::npos);
    auto* syncPage = window.findChild<SyncTab*>();
    ASSERT_NE(syncPage, nullptr);
    auto* folders = syncPage->findChild<QComboBox*>();
    ASSERT_NE(folders, nullptr);
    ASSERT_EQ(folders->count(), 1);
    EXPECT_EQ(folders->itemText(0).toStdString(), (home.path() / "Nextcloud").string());

    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == "Sync settings through a folder")
            box->click();
    EXPECT_TRUE(settings.value(sync::SettingsSync::kEnabledKey).toBool());
    folders->setCurrentIndex(0);
    emit folders->activated(0);
    EXPECT_EQ(settings.value(sync::SettingsSync::kFolderKey).toString().toStdString(),
              (home.path() / "Nextcloud").string());
    controller->coordinators().settingsSync->start();
    // The folder is read off the window's thread; the tab shows what it found.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return visibleText(window).find("not valid JSON and was left alone") !=
                   std::string::npos;
        },
        3000))
        << visibleText(window);
    testing::saveScreenshot(window, "settings-sync");
}

} // namespace
} // namespace ravo::ui
