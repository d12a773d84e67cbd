#include "metrics/core/metric_format.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

TEST(CompactRate, StepsByThousandsWithOneDigitBelowTen) {
    struct Row {
        double value;
        const char* text;
    };
    for (const Row& row : {Row{0, "0 B/s"}, Row{-5, "0 B/s"}, Row{999.4, "999 B/s"},
                           Row{999.5, "1.0 K/s"}, Row{1234, "1.2 K/s"}, Row{9949, "9.9 K/s"},
                           Row{9950, "10 K/s"}, Row{999499, "999 K/s"}, Row{999500, "1.0 M/s"},
                           Row{12e6, "12 M/s"}, Row{3.4e9, "3.4 G/s"}, Row{5e12, "5000 G/s"}})
        EXPECT_EQ(MetricFormat::compactRate(row.value), row.text) << row.value;
}

TEST(Bytes, UsesBinaryMultiplesAndSpellsOutZero) {
    EXPECT_EQ(MetricFormat::bytes(0), "Zero KB");
    EXPECT_EQ(MetricFormat::bytes(1), "1 byte");
    EXPECT_EQ(MetricFormat::bytes(512), "512 bytes");
    EXPECT_EQ(MetricFormat::bytes(1536), "2 KB");
    EXPECT_EQ(MetricFormat::bytes(1024 * 1024 * 3 / 2), "1.5 MB");
    EXPECT_EQ(MetricFormat::bytes(16ull << 30), "16 GB");
    EXPECT_EQ(MetricFormat::bytes(1048575), "1 MB");    // 1023.999 KB rounds into the next unit
    EXPECT_EQ(MetricFormat::bytes(UINT64_MAX), "8 EB"); // capped at the largest signed value
}

TEST(Bytes, WritesTheLocalesDecimalSeparator) {
    EXPECT_EQ(MetricFormat::bytes(1024 * 1024 * 3 / 2, FormatLocale::named("de_DE.UTF-8")),
              "1,5 MB");
    EXPECT_EQ(MetricFormat::bytes(1024 * 1024 * 3 / 2, FormatLocale::named("en_US.UTF-8")),
              "1.5 MB");
    EXPECT_EQ(FormatLocale::named("C"), FormatLocale{});
}

TEST(Rate, UsesDecimalUnitsFromKilobytesUp) {
    EXPECT_EQ(MetricFormat::rate(0), "0 kB/s");
    EXPECT_EQ(MetricFormat::rate(12000), "12 kB/s");
    EXPECT_EQ(MetricFormat::rate(1500000), "1.5 MB/s");
    EXPECT_EQ(MetricFormat::rate(2.25e9), "2.25 GB/s");
    EXPECT_EQ(MetricFormat::rate(999999), "1 MB/s");
}

TEST(PercentAndCelsius, RoundToWholeNumbers) {
    EXPECT_EQ(MetricFormat::percent(0.42), "42%");
    EXPECT_EQ(MetricFormat::percent(0.995), "100%");
    EXPECT_EQ(MetricFormat::percent(0), "0%");
    EXPECT_EQ(MetricFormat::celsius(61.6), "62°C");
    EXPECT_EQ(MetricFormat::celsius(-0.2), "0°C");
}

} // namespace
} // namespace ravo::metrics
