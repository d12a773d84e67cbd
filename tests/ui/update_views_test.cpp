#include "tests/support/temporary_folder.h"
#include "tests/ui/widget_checks.h"
#include "ui/settings/update_section.h"
#include "updates/update_checker.h"

#include <QPushButton>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace ravo::ui {
namespace {

using namespace ui::testing;

// The section as it looks with the last verified manifest kept from an earlier run.
class UpdateViewsTest : public ::testing::Test {
protected:
    std::unique_ptr<updates::UpdateChecker> checkerKnowing(long long build, long long minimum) {
        updates::ReleaseManifest manifest;
        manifest.version = "0." + std::to_string(build);
        manifest.build = build;
        manifest.minimumBuild = minimum;
        manifest.downloadURL = "https://ravo.example.org/ravo.tar.gz";
        manifest.sha256 = std::string(64, 'a');
        manifest.notes = "Alerts arrive sooner, and the dashboard fits small terminals.";
        settings.setValue(updates::UpdateChecker::kManifestKey,
                          QString::fromStdString(manifest.toJson().dump()));
        updates::UpdateChecker::Options options;
        options.currentBuild = 5;
        return std::make_unique<updates::UpdateChecker>(settings, nullptr, std::move(options));
    }
    bool downloadShown(const QWidget& section) {
        const auto* button = section.findChild<QPushButton*>();
        return button && button->isVisible();
    }

    ravo::testing::TemporaryFolder folder;
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
};

TEST_F(UpdateViewsTest, AnOfferShowsItsNotesAndARequiredUpdateSaysMonitoringIsPaused) {
    auto upToDate = checkerKnowing(5, 1);
    UpdateSection nothing(upToDate.get());
    EXPECT_TRUE(nothing.isHidden()); // stays out of the General tab

    auto available = checkerKnowing(9, 3);
    UpdateSection offer(available.get());
    offer.resize(420, offer.sizeHint().height());
    offer.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&offer));
    const std::string offered = visibleText(offer);
    EXPECT_NE(offered.find("Ravo 0.9 is available"), std::string::npos) << offered;
    EXPECT_NE(offered.find("Alerts arrive sooner"), std::string::npos) << offered;
    EXPECT_EQ(offered.find("paused"), std::string::npos) << offered;
    EXPECT_TRUE(downloadShown(offer));
    EXPECT_TRUE(clippedLabels(offer).empty());
    saveScreenshot(offer, "update-available");

    auto required = checkerKnowing(9, 7);
    UpdateSection pause(required.get());
    pause.resize(420, pause.sizeHint().height());
    pause.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&pause));
    const std::string paused = visibleText(pause);
    EXPECT_NE(paused.find("Monitoring is paused until you install Ravo 0.9"), std::string::npos)
        << paused;
    EXPECT_TRUE(downloadShown(pause));
    EXPECT_TRUE(clippedLabels(pause).empty());
    saveScreenshot(pause, "update-required");
}

} // namespace
} // namespace ravo::ui
