#include "tests/ui/views_fixture.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/settings/system_tab.h"
#include "ui/tray/tray_icon_content.h"

#include <QCheckBox>
#include <QComboBox>
#include <QSpinBox>
#include <QTest>

namespace ravo::ui {
namespace {

using namespace testing_views;

TEST_F(ViewsTest, SystemPageSetsTheRefreshIntervalAndFollowsChangesFromElsewhere) {
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kSystemTab);
    EXPECT_EQ(window.pageTitles().value(window.currentPage()), "System");
    auto* page = window.findChild<SystemTab*>();
    ASSERT_NE(page, nullptr);
    ASSERT_TRUE(page->isVisible());
    auto* refresh = page->findChild<QSpinBox*>();
    ASSERT_NE(refresh, nullptr);
    EXPECT_EQ(refresh->value(), 2);
    EXPECT_EQ(refresh->minimum(), 1);
    EXPECT_EQ(refresh->maximum(), 10);
    refresh->setValue(7);
    EXPECT_EQ(monitor->refreshSeconds(), 7);
    EXPECT_EQ(settings.value("systemRefreshSeconds").toString(), "7");
    // `ravo settings set` in another process reaches the monitor; the page follows.
    monitor->setRefreshSeconds(3);
    EXPECT_EQ(refresh->value(), 3);
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-system");
}

TEST_F(ViewsTest, SystemPageShowsTemperaturesInTheChosenUnitEverywhereAtOnce) {
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kSystemTab);
    auto* page = window.findChild<SystemTab*>();
    ASSERT_NE(page, nullptr);
    auto boxes = page->findChildren<QComboBox*>();
    ASSERT_EQ(boxes.size(), 3);
    QComboBox* unit = boxes[2];
    monitor->setTemperatureUnit("celsius");
    EXPECT_EQ(unit->currentText(), "Celsius (°C)");
    monitor->detailDidOpen(metrics::SystemMetric::temperature);
    auto* detail = new MetricDetailView(monitor.get(), metrics::SystemMetric::temperature);
    auto popover = inPopover(detail);
    detail->refresh();
    EXPECT_NE(visibleText(*popover).find("61°C"), std::string::npos) << visibleText(*popover);

    unit->setCurrentIndex(unit->findData(QStringLiteral("fahrenheit")));
    EXPECT_EQ(settings.value("temperatureUnit").toString(), "fahrenheit");
    // The open popover redraws without waiting for the next sample.
    QTest::qWait(50);
    const std::string text = visibleText(*popover);
    EXPECT_NE(text.find("142°F"), std::string::npos) << text; // 61 °C
    EXPECT_EQ(text.find("°C"), std::string::npos) << text;
    const auto item = MetricItemView::of(*monitor->reading(), metrics::SystemMetric::temperature,
                                         std::nullopt, monitor->formatLocale());
    EXPECT_EQ(item.icon.first, "142°");
    EXPECT_NE(item.tooltip.find("142°F"), std::string::npos) << item.tooltip;

    // A temperature limit is typed in the unit shown and kept in Celsius.
    QCheckBox* hot = nullptr;
    for (auto* box : page->findChildren<QCheckBox*>())
        if (box->text() == "Temperature stays above")
            hot = box;
    ASSERT_NE(hot, nullptr);
    auto* degrees = page->findChildren<QSpinBox*>().back();
    hot->setChecked(true);
    EXPECT_EQ(settings.value("temperatureAlertAbove").toString(), "90");
    EXPECT_EQ(degrees->suffix(), " °F");
    EXPECT_EQ(degrees->value(), 194);
    degrees->setValue(203);
    EXPECT_EQ(settings.value("temperatureAlertAbove").toString(), "95");

    // `ravo settings set temperatureUnit` in another process: the page follows.
    monitor->setTemperatureUnit("");
    EXPECT_EQ(unit->currentIndex(), 0);
    EXPECT_FALSE(settings.contains("temperatureUnit"));
    monitor->setTemperatureUnit("celsius");
    EXPECT_EQ(degrees->suffix(), " °C");
    EXPECT_EQ(degrees->value(), 95);
    hot->setChecked(false);
    EXPECT_FALSE(settings.contains("temperatureAlertAbove"));
    EXPECT_FALSE(degrees->isEnabled());
    EXPECT_TRUE(clippedLabels(window).empty());
    monitor->detailDidClose(metrics::SystemMetric::temperature);
}

// A machine with a cable and a Wi-Fi card, and a disk with two volumes.
struct ChoosingSource final : metrics::testing::RecordedCounterSource {
    using RecordedCounterSource::RecordedCounterSource;
    metrics::SourceChoice chosen;
    metrics::SourceOptions offered{{"enp0s31f6", "wlp2s0"}, {"/", "/home"}};
    void setChoice(const metrics::SourceChoice& choice) override { chosen = choice; }
    metrics::SourceOptions options() override { return offered; }
};

TEST_F(ViewsTest, SystemPageChoosesTheInterfaceAndDiskAndSaysWhenOneIsGone) {
    auto owned = std::make_unique<ChoosingSource>(&calls);
    ChoosingSource* source = owned.get();
    metrics::SystemMonitor::Services services;
    services.sampler = std::make_unique<metrics::SystemSampler>(std::move(owned));
    metrics::SystemMonitor chooser(&settings, std::move(services));
    SystemTab page(&chooser);
    page.show();
    auto boxes = page.findChildren<QComboBox*>();
    ASSERT_EQ(boxes.size(), 3);
    QComboBox* interfaces = boxes[0];
    QComboBox* volumes = boxes[1];
    EXPECT_EQ(interfaces->count(), 3); // automatic, then the machine's
    EXPECT_EQ(interfaces->currentIndex(), 0);
    EXPECT_EQ(volumes->itemText(2), "/home");

    interfaces->setCurrentIndex(interfaces->findText("wlp2s0"));
    volumes->setCurrentIndex(volumes->findText("/home"));
    EXPECT_EQ(source->chosen, (metrics::SourceChoice{"wlp2s0", "/home"}));
    EXPECT_EQ(settings.value("systemNetworkInterface").toString(), "wlp2s0");
    EXPECT_EQ(settings.value("systemDiskVolume").toString(), "/home");
    EXPECT_EQ(visibleText(page).find("not on this machine"), std::string::npos);

    // The Wi-Fi card is pulled: the choice stays, the figures fall back, the page says so.
    source->offered.interfaces = {"enp0s31f6"};
    page.hide();
    page.show();
    EXPECT_EQ(interfaces->currentText(), "wlp2s0 (not there now)");
    EXPECT_NE(visibleText(page).find("The interface wlp2s0 is not on this machine now"),
              std::string::npos)
        << visibleText(page);
    ASSERT_TRUE(chooser.sourceChoiceNote());
    EXPECT_NE(chooser.sourceChoiceNote()->find("wlp2s0"), std::string::npos);

    interfaces->setCurrentIndex(0); // back to automatic
    EXPECT_EQ(source->chosen.interface, "");
    EXPECT_EQ(settings.value("systemNetworkInterface").toString(), "");
    EXPECT_EQ(visibleText(page).find("not on this machine"), std::string::npos);
    EXPECT_TRUE(clippedLabels(page).empty());

    // A Ravo started later follows what is stored.
    auto again = std::make_unique<ChoosingSource>(&calls);
    ChoosingSource* restarted = again.get();
    metrics::SystemMonitor::Services restart;
    restart.sampler = std::make_unique<metrics::SystemSampler>(std::move(again));
    metrics::SystemMonitor later(&settings, std::move(restart));
    EXPECT_EQ(restarted->chosen, (metrics::SourceChoice{"", "/home"}));
}

} // namespace
} // namespace ravo::ui
