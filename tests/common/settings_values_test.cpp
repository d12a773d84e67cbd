#include "common/settings_values.h"
#include "tests/support/temporary_folder.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ravo::app {
namespace {

// Settings as a user (or another program) left them in the file.
QSettings settingsFromText(const ravo::testing::TemporaryFolder& folder, const char* text) {
    const QString path = QString::fromStdString((folder / "ravo.conf").string());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(text);
    file.close();
    return QSettings(path, QSettings::IniFormat);
}

TEST(SettingsValues, ListsReadBackWhicheverWayTheFileSpellsThem) {
    ravo::testing::TemporaryFolder folder;
    QSettings settings = settingsFromText(folder, "[General]\n"
                                                  "none=@Invalid()\n"
                                                  "one=cpu\n"
                                                  "two=cpu, disk\n"
                                                  "blank=\n");
    EXPECT_EQ(common::readStringList(settings, "absent"), std::nullopt);
    EXPECT_EQ(common::readStringList(settings, "none"), std::vector<std::string>{});
    EXPECT_EQ(common::readStringList(settings, "one"), std::vector<std::string>{"cpu"});
    EXPECT_EQ(common::readStringList(settings, "two"), (std::vector<std::string>{"cpu", "disk"}));
    EXPECT_EQ(common::readStringList(settings, "blank"), std::vector<std::string>{});
}

TEST(SettingsValues, BooleansAcceptTheirTextAndFallBackOnGarbage) {
    ravo::testing::TemporaryFolder folder;
    QSettings settings =
        settingsFromText(folder, "[General]\nyes=true\nno=false\nodd=maybe\nnumber=7\n");
    EXPECT_TRUE(common::readBool(settings, "yes", false));
    EXPECT_FALSE(common::readBool(settings, "no", true));
    EXPECT_TRUE(common::readBool(settings, "odd", true));
    EXPECT_FALSE(common::readBool(settings, "number", false));
    EXPECT_TRUE(common::readBool(settings, "absent", true));
}

TEST(SettingsValues, WrittenListsSurviveTheFile) {
    ravo::testing::TemporaryFolder folder;
    const QString path = QString::fromStdString((folder / "ravo.conf").string());
    {
        QSettings settings(path, QSettings::IniFormat);
        common::writeStringList(settings, "single", {"gpu"});
        common::writeStringList(settings, "empty", {});
        common::writeStringList(settings, "pair", {"gpu", "cpu"});
    }
    QSettings reread(path, QSettings::IniFormat);
    EXPECT_EQ(common::readStringList(reread, "single"), std::vector<std::string>{"gpu"});
    EXPECT_EQ(common::readStringList(reread, "empty"), std::vector<std::string>{});
    EXPECT_EQ(common::readStringList(reread, "pair"), (std::vector<std::string>{"gpu", "cpu"}));
}

} // namespace
} // namespace ravo::app
