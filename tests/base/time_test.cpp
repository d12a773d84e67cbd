#include "base/time.h"

#include <gtest/gtest.h>

namespace ravo {
namespace {

TEST(Iso8601, ParsesUtcOffsetsAndFractions) {
    EXPECT_DOUBLE_EQ(unixSeconds(*parseIso8601("2026-03-28T15:00:00Z")), 1774710000.0);
    EXPECT_DOUBLE_EQ(unixSeconds(*parseIso8601("2026-03-28T17:00:00+02:00")), 1774710000.0);
    EXPECT_DOUBLE_EQ(unixSeconds(*parseIso8601("2026-03-28T10:30:00-0430")), 1774710000.0);
    EXPECT_NEAR(unixSeconds(*parseIso8601("1970-01-01T00:00:01.250Z")), 1.25, 1e-6);
}

TEST(Iso8601, RejectsTextThatIsNotADateTime) {
    for (const char* text :
         {"", "2026-03-28", "2026-13-01T00:00:00Z", "2026-02-30T00:00:00Z", "2026-03-28T15:00:00",
          "2026-03-28T15:00:00Zjunk", "tomorrow", "2026-03-28T25:00:00Z"})
        EXPECT_FALSE(parseIso8601(text).has_value()) << text;
}

TEST(Iso8601, FormatsWhatItParses) {
    const auto t = fromUnixSeconds(1738425600.5);
    EXPECT_EQ(toIso8601(t), "2025-02-01T16:00:00.500Z");
    EXPECT_EQ(*parseIso8601(toIso8601(t)), t);
    EXPECT_EQ(toIso8601(fromUnixSeconds(0)), "1970-01-01T00:00:00Z");
}

TEST(ReferenceDate, CountsFromTheStartOf2001) {
    EXPECT_DOUBLE_EQ(referenceSeconds(*parseIso8601("2001-01-01T00:00:00Z")), 0.0);
    EXPECT_DOUBLE_EQ(referenceSeconds(fromUnixSeconds(978307260.0)), 60.0);
    EXPECT_EQ(fromReferenceSeconds(60.0), fromUnixSeconds(978307260.0));
}

} // namespace
} // namespace ravo
