#include "app/settings_values.h"
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
    EXPECT_EQ(readStringList(settings, "absent"), std::nullopt);
    EXPECT_EQ(readStringList(settings, "none"), std::vector<std::string>{});
    EXPECT_EQ(readStringList(settings, "one"), std::vector<std::string>{"cpu"});
    EXPECT_EQ(readStringList(settings, "two"), (std::vector<std::string>{"cpu", "disk"}));
    EXPECT_EQ(readStringList(settings, "blank"), std::vector<std::string>{});
}

TEST(SettingsValues, BooleansAcceptTheirTextAndFallBackOnGarbage) {
    ravo::testing::TemporaryFolder folder;
    QSettings settings =
        settingsFromText(folder, "[General]\nyes=true\nno=false\nodd=maybe\nnumber=7\n");
    EXPECT_TRUE(readBool(settings, "yes", false));
    EXPECT_FALSE(readBool(settings, "no", true));
    EXPECT_TRUE(readBool(settings, "odd", true));
    EXPECT_FALSE(readBool(settings, "number", false));
    EXPECT_TRUE(readBool(settings, "absent", true));
}

TEST(SettingsValues, WrittenListsSurviveTheFile) {
    ravo::testing::TemporaryFolder folder;
    const QString path = QString::fromStdString((folder / "ravo.conf").string());
    {
        QSettings settings(path, QSettings::IniFormat);
        writeStringList(settings, "single", {"gpu"});
        writeStringList(settings, "empty", {});
        writeStringList(settings, "pair", {"gpu", "cpu"});
    }
    QSettings reread(path, QSettings::IniFormat);
    EXPECT_EQ(readStringList(reread, "single"), std::vector<std::string>{"gpu"});
    EXPECT_EQ(readStringList(reread, "empty"), std::vector<std::string>{});
    EXPECT_EQ(readStringList(reread, "pair"), (std::vector<std::string>{"gpu", "cpu"}));
}

} // namespace
} // namespace ravo::app
