#include "metrics/core/sampling_settings.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

TEST(SamplingInterval, TakesWholeSecondsFromOneToTen) {
    for (const char* right : {"1", "2", "10"})
        EXPECT_EQ(SamplingSettings::checkedInterval(right).value(), right);
    EXPECT_EQ(SamplingSettings::checkedInterval("").value(), "") << "empty is the default";
    for (const char* wrong : {"0", "11", "-1", "1.5", "2s", " 2", "two", "99999999999"})
        EXPECT_EQ(SamplingSettings::checkedInterval(wrong).error(),
                  "systemRefreshSeconds takes whole seconds from 1 to 10.")
            << wrong;
}

TEST(SamplingInterval, AnythingStoredOutsideTheRangeReadsAsTwoSeconds) {
    EXPECT_EQ(SamplingSettings::intervalSeconds("7"), 7);
    for (const char* stored : {"", "0", "11", "garbage", "-4"})
        EXPECT_EQ(SamplingSettings::intervalSeconds(stored), 2) << stored;
    EXPECT_EQ(SamplingSettings::kInterval.textDefault, "2");
}

TEST(SourceChoiceSettings, TakeInterfaceNamesAndMountPoints) {
    for (const char* right : {"", "eth0", "wlp2s0", "enx0123456789ab"})
        EXPECT_TRUE(SamplingSettings::checkedInterface(right)) << right;
    for (const char* wrong : {"eth0/1", "a b", "..", "sixteen-chars-xx", "en:1"})
        EXPECT_FALSE(SamplingSettings::checkedInterface(wrong)) << wrong;
    for (const char* right : {"", "/", "/home", "/media/ada/USB Stick"})
        EXPECT_TRUE(SamplingSettings::checkedVolume(right)) << right;
    for (const char* wrong : {"home", "C:\\", "/mnt/a\nb"})
        EXPECT_FALSE(SamplingSettings::checkedVolume(wrong)) << wrong;
}

TEST(SourceChoiceNote, SaysWhatIsMissingAndWhatStandsInForIt) {
    const SourceOptions machine{{"enp0s31f6", "wlp2s0"}, {"/", "/home"}};
    EXPECT_FALSE(SamplingSettings::missingChoiceNote({}, machine)) << "automatic needs no note";
    EXPECT_FALSE(SamplingSettings::missingChoiceNote({"wlp2s0", "/home"}, machine));
    EXPECT_EQ(SamplingSettings::missingChoiceNote({"enx1", ""}, machine),
              "The interface enx1 is not on this machine now: the network figures count every "
              "interface until it is back.");
    EXPECT_EQ(SamplingSettings::missingChoiceNote({"", "/media/stick"}, machine),
              "Nothing is mounted at /media/stick now: the disk figures follow the start-up "
              "volume until it is back.");
    const auto both = SamplingSettings::missingChoiceNote({"enx1", "/media/stick"}, machine);
    ASSERT_TRUE(both);
    EXPECT_NE(both->find("enx1"), std::string::npos);
    EXPECT_NE(both->find("/media/stick"), std::string::npos);
}

} // namespace
} // namespace ravo::metrics
