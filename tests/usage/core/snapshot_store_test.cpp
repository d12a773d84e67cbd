#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"
#include "usage/core/snapshot_json.h"
#include "usage/core/snapshot_store.h"

#include <gtest/gtest.h>

namespace ravo::usage {
namespace {

using nlohmann::json;

UsageSnapshot sample() {
    UsageSnapshot s;
    ProviderReading claude;
    UsageWindow w;
    w.id = "claude-7d-fable";
    w.minutes = 10080;
    w.model = "Fable";
    w.usedPercent = 39.5;
    w.resetsAt = fromReferenceSeconds(800000000.25);
    w.observedAt = Clock::now();
    claude.windows = {w};
    claude.plan = "max";
    claude.planMultiplier = 20;
    s.apply(claude, Provider::claude, fromReferenceSeconds(800000000));
    ProviderReading codex;
    codex.credits = Credits{*Decimal::parse("12.50"), false};
    s.apply(codex, Provider::codex, fromReferenceSeconds(800000000));
    s.apply(UsageError{"codex app-server timed out", std::nullopt, std::nullopt}, Provider::codex,
            fromReferenceSeconds(800000100));
    return s;
}

TEST(SnapshotJson, WritesTheSharedFileFormat) {
    const json j = snapshotToJson(sample(), DateStyle::referenceSeconds);
    const auto& claude = j["providers"][0];
    EXPECT_EQ(claude["provider"], "claude");
    EXPECT_EQ(claude["updatedAt"], 800000000.0);
    EXPECT_EQ(claude["windows"][0]["resetsAt"], 800000000.25);
    EXPECT_EQ(claude["windows"][0]["model"], "Fable");
    EXPECT_FALSE(claude["windows"][0].contains("observedAt"));
    EXPECT_FALSE(claude.contains("error"));
    EXPECT_FALSE(claude.contains("credits"));
    const auto& codex = j["providers"][1];
    EXPECT_EQ(codex["windows"], json::array()); // always written
    EXPECT_EQ(codex["resetCredits"], 0);
    EXPECT_EQ(codex["credits"]["balance"].dump(), "12.5");
    EXPECT_EQ(codex["error"], "codex app-server timed out");
    EXPECT_EQ(snapshotToJson(UsageSnapshot{}, DateStyle::referenceSeconds).dump(),
              R"({"providers":[]})");
}

TEST(SnapshotJson, RoundTripsAndRefusesOtherDateForms) {
    const auto original = sample();
    const auto decoded =
        snapshotFromJson(json::parse(snapshotToJson(original, DateStyle::referenceSeconds).dump()));
    EXPECT_EQ(decoded, original);
    EXPECT_FALSE(decoded.providers[0].windows[0].observedAt);
    EXPECT_THROW(snapshotFromJson(snapshotToJson(original, DateStyle::iso8601)), std::exception);
    EXPECT_THROW(snapshotFromJson(json::parse(R"({"providers":[{"provider":"gemini",
        "windows":[],"resetCredits":0}]})")),
                 std::exception);
}

// Regression: a Codex balance of "123456789012345678" came back as 123456789012345680.
TEST(SnapshotJson, KeepsEveryCreditBalanceExactAsAJsonNumber) {
    testing::TemporaryHome home;
    for (const char* text : {"123456789012345678", "12345678.9012345678", "5.39", "-0.5", "0"}) {
        UsageSnapshot snapshot;
        ProviderReading codex;
        codex.credits = Credits{*Decimal::parse(text), false};
        snapshot.apply(codex, Provider::codex, fromReferenceSeconds(800000000));
        ASSERT_TRUE(SnapshotStore::save(snapshot).ok());
        const auto file = *readFile(*SnapshotStore::filePath());
        EXPECT_NE(file.find(std::string("\"balance\":") + text), std::string::npos) << file;
        const auto loaded = SnapshotStore::load();
        ASSERT_TRUE(loaded) << text;
        EXPECT_EQ(loaded->usage(Provider::codex)->credits->balance.toString(), text);
    }
}

// Found by fuzzing: text from outside that looked like the exact-number marker was taken
// for one, and the file written could not be read back.
TEST(SnapshotJson, TextThatLooksLikeAnExactNumberStaysText) {
    UsageSnapshot snapshot;
    ProviderReading codex;
    codex.credits = Credits{*Decimal::parse("12345678.9012345678"), false};
    snapshot.apply(codex, Provider::codex, fromReferenceSeconds(800000000));
    snapshot.apply(UsageError{"cl\\\"\u0001exact:aude \u0001exact:5", std::nullopt, std::nullopt},
                   Provider::codex, fromReferenceSeconds(800000100));
    const auto reread = decodeSnapshot(encodeSnapshot(snapshot, DateStyle::referenceSeconds));
    ASSERT_TRUE(reread.ok()) << reread.error();
    EXPECT_EQ(reread->usage(Provider::codex)->error, snapshot.usage(Provider::codex)->error);
    EXPECT_EQ(reread->usage(Provider::codex)->credits->balance.toString(), "12345678.9012345678");
}

TEST(SnapshotJson, NumbersOutOfRangeFailToDecodeInsteadOfWrapping) {
    EXPECT_FALSE(
        decodeSnapshot(R"({"providers":[{"provider":"codex","windows":[],"resetCredits":3e61}]})"));
    EXPECT_FALSE(decodeSnapshot(
        R"({"providers":[{"provider":"codex","windows":[{"id":"w","minutes":1.5,"usedPercent":1}],"resetCredits":0}]})"));
    const auto farAway = decodeSnapshot(
        R"({"providers":[{"provider":"codex","windows":[],"resetCredits":0,"updatedAt":1e300}]})");
    ASSERT_TRUE(farAway); // clamped to the clock's range, not overflowed
    EXPECT_GT(*farAway->providers.at(0).updatedAt, fromUnixSeconds(4e9));
}

TEST(SnapshotStoreFile, SavesAtomicallyAndLoadsBack) {
    ravo::testing::TemporaryHome home;
    EXPECT_FALSE(SnapshotStore::load()); // first run
    ASSERT_TRUE(SnapshotStore::save(sample()).ok());
    EXPECT_EQ(SnapshotStore::load(), sample());
    const auto text = readFile(home.container() / "snapshot.json");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find('\n'), std::string::npos); // compact
}

TEST(SnapshotStoreFile, DamagedFilesLoadAsNothing) {
    ravo::testing::TemporaryHome home;
    std::filesystem::create_directories(home.container());
    for (const char* content :
         {"", "{", "[]", R"({"providers":[{"provider":"claude","windows":[],"resetCredits":0,
            "updatedAt":"2026-01-01T00:00:00Z"}]})"}) {
        ASSERT_TRUE(writeFileAtomically(home.container() / "snapshot.json", content).ok());
        EXPECT_FALSE(SnapshotStore::load()) << content;
    }
}

} // namespace
} // namespace ravo::usage
