#include "metrics/core/metric_format.h"

#include <cstdlib>
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
    EXPECT_EQ(MetricFormat::temperature(61.6), "62°C");
    EXPECT_EQ(MetricFormat::temperature(-0.2), "0°C");
}

// Regression: percent and celsius ignored the locale they were given.
TEST(PercentAndCelsius, FollowTheLocale) {
    EXPECT_EQ(MetricFormat::percent(0.42, FormatLocale::named("de_DE.UTF-8")), "42\u00a0%");
    EXPECT_EQ(MetricFormat::percent(0.42, FormatLocale::named("fr_FR.UTF-8")), "42\u202f%");
    EXPECT_EQ(MetricFormat::percent(0.42, FormatLocale::named("tr_TR.UTF-8")), "%42");
    EXPECT_EQ(MetricFormat::percent(0.42, FormatLocale::named("en_GB.UTF-8")), "42%");
    EXPECT_EQ(MetricFormat::temperature(61.6, FormatLocale::named("de_DE.UTF-8")), "62°C");
}

TEST(PercentAndCelsius, FahrenheitWhereTheRegionMeasuresInIt) {
    const auto us = FormatLocale::named("en_US.UTF-8");
    EXPECT_EQ(MetricFormat::temperature(61.6, us), "143°F");
    EXPECT_EQ(MetricFormat::temperature(-40, us), "-40°F");
    EXPECT_EQ(MetricFormat::temperature(100, us), "212°F");
    // The language does not decide it; the territory does.
    EXPECT_EQ(MetricFormat::temperature(20, FormatLocale::named("es_US.UTF-8")), "68°F");
    EXPECT_EQ(MetricFormat::temperature(20, FormatLocale::named("en_GB.UTF-8")), "20°C");
    EXPECT_EQ(MetricFormat::temperature(20, FormatLocale::named("C.UTF-8")), "20°C");
}

TEST(FormatLocaleTest, ComesFromTheUsersEnvironmentInPosixOrder) {
    ::unsetenv("LC_MEASUREMENT");
    const char* saved[3] = {std::getenv("LC_ALL"), std::getenv("LC_NUMERIC"), std::getenv("LANG")};
    const std::string copies[3] = {saved[0] ? saved[0] : "", saved[1] ? saved[1] : "",
                                   saved[2] ? saved[2] : ""};
    ::unsetenv("LC_ALL");
    ::setenv("LC_NUMERIC", "de_DE.UTF-8", 1);
    ::setenv("LANG", "en_US.UTF-8", 1);
    EXPECT_EQ(FormatLocale::fromEnvironment().decimalSeparator, ',');
    ::setenv("LC_ALL", "C", 1);
    EXPECT_EQ(FormatLocale::fromEnvironment().decimalSeparator, '.');
    // Numbers and measures are separate categories: German numbers, American degrees.
    ::unsetenv("LC_ALL");
    ::setenv("LC_MEASUREMENT", "en_US.UTF-8", 1);
    ::setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_EQ(FormatLocale::fromEnvironment().decimalSeparator, ',');
    EXPECT_EQ(FormatLocale::fromEnvironment().temperatureUnit, TemperatureUnit::fahrenheit);
    ::unsetenv("LC_MEASUREMENT");
    EXPECT_EQ(FormatLocale::fromEnvironment().temperatureUnit, TemperatureUnit::celsius);
    const char* names[3] = {"LC_ALL", "LC_NUMERIC", "LANG"};
    for (int i = 0; i < 3; ++i) {
        if (saved[i])
            ::setenv(names[i], copies[i].c_str(), 1);
        else
            ::unsetenv(names[i]);
    }
}

} // namespace
} // namespace ravo::metrics
