#include "tests/support/temporary_folder.h"
#include "updates/core/update_decision.h"
#include "updates/core/update_verifier.h"
#include "updates/release_tool/release_signer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace ravo::updates {
namespace {

std::string fromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

// Every vector of Wycheproof's Ed25519 suite gets its expected verdict from our verifier.
TEST(UpdateVerifier, GivesEveryWycheproofVectorItsVerdict) {
    std::ifstream file(RAVO_ED25519_VECTORS "/wycheproof_ed25519_test.json");
    ASSERT_TRUE(file.good()) << "the vectors are in tests/fixtures/ed25519";
    const auto suite = nlohmann::json::parse(file);
    int checked = 0;
    for (const auto& group : suite.at("testGroups")) {
        const std::string key = fromHex(group.at("publicKey").at("pk").get<std::string>());
        for (const auto& test : group.at("tests")) {
            const bool valid =
                UpdateVerifier::isSignedBy(fromHex(test.at("msg")), fromHex(test.at("sig")), key);
            // "acceptable" leaves the verdict to the implementation.
            if (test.at("result") != "acceptable") {
                EXPECT_EQ(valid, test.at("result") == "valid")
                    << "tcId " << test.at("tcId") << ": " << test.at("comment");
            }
            ++checked;
        }
    }
    EXPECT_EQ(checked, suite.at("numberOfTests").get<int>());
}

TEST(UpdateVerifier, Base64IsStrict) {
    EXPECT_EQ(UpdateVerifier::decodeBase64("aGVsbG8="), "hello");
    EXPECT_EQ(UpdateVerifier::decodeBase64(""), "");
    for (const char* bad :
         {"aGVsbG8", "aGVs bG8=", "aGVsbG9=", "aGVsbG8==", "a$Vs", "====", "aGVsbG8=\n"})
        EXPECT_EQ(UpdateVerifier::decodeBase64(bad), std::nullopt) << bad;
    EXPECT_EQ(UpdateVerifier::sha256("abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

// A publisher's key, and manifests signed with it.
class SignedManifestTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto made = ReleaseSigner::generateKey(folder / "release.pem");
        ASSERT_TRUE(made.ok()) << made.error();
        publicKey = *made;
    }
    std::string manifest(const std::string& url = "https://ravo.example.org/ravo-2.1.tar.gz") {
        return nlohmann::json{
            {"version", "2.1"},        {"build", 210},
            {"minimumBuild", 200},     {"publishedAt", "2026-11-20T09:00:00Z"},
            {"downloadURL", url},      {"sha256", UpdateVerifier::sha256("release")},
            {"notes", "Faster start."}}
            .dump();
    }
    std::string signedEnvelope(const std::string& payload) {
        return ReleaseSigner::envelope(folder / "release.pem", payload).value();
    }
    std::variant<ReleaseManifest, UpdateError> verify(const std::string& envelope) {
        return UpdateVerifier::manifest(envelope, publicKey);
    }

    testing::TemporaryFolder folder;
    std::string publicKey;
};

TEST_F(SignedManifestTest, AGoodEnvelopeGivesItsManifest) {
    const auto verified = verify(signedEnvelope(manifest()));
    ASSERT_TRUE(std::holds_alternative<ReleaseManifest>(verified));
    const auto& release = std::get<ReleaseManifest>(verified);
    EXPECT_EQ(release.version, "2.1");
    EXPECT_EQ(release.build, 210);
    EXPECT_EQ(release.notes, "Faster start.");
    EXPECT_EQ(ReleaseManifest::fromJson(release.toJson()), release);
    EXPECT_EQ(ReleaseSigner::publicKeyOf(folder / "release.pem").value(), publicKey);
}

TEST_F(SignedManifestTest, EveryFaultHasItsOwnErrorAndNeverAManifest) {
    const std::string good = signedEnvelope(manifest());
    auto field = [&](const char* key) {
        return nlohmann::json::parse(good).at(key).get<std::string>();
    };
    // One byte changed after signing, still valid JSON.
    std::string changed = manifest();
    changed[changed.find("2.1")] = '3';
    const std::string tampered = nlohmann::json{
        {"payload", UpdateVerifier::encodeBase64(changed)},
        {"signature",
         field("signature")}}.dump();
    testing::TemporaryFolder other;
    const auto otherKey = ReleaseSigner::generateKey(other / "other.pem");
    const std::string foreign = ReleaseSigner::envelope(other / "other.pem", manifest()).value();
    const std::vector<std::pair<std::string, UpdateError>> cases = {
        {"not json", UpdateError::malformed},
        {"[]", UpdateError::malformed},
        {R"({"payload": 1, "signature": "AA=="})", UpdateError::malformed},
        {nlohmann::json{{"payload", "not base64!"}, {"signature", field("signature")}}.dump(),
         UpdateError::malformed},
        {tampered, UpdateError::badSignature},
        {foreign, UpdateError::badSignature},
        // Signed, but not a manifest: found only after the signature.
        {signedEnvelope(R"({"version": "2.1"})"), UpdateError::malformed},
        {signedEnvelope("not json"), UpdateError::malformed},
        {signedEnvelope(manifest("http://ravo.example.org/ravo-2.1.tar.gz")),
         UpdateError::insecureDownload},
        {signedEnvelope(manifest("ftp://ravo.example.org/ravo-2.1.tar.gz")),
         UpdateError::insecureDownload},
    };
    for (const auto& [envelope, error] : cases) {
        const auto verified = verify(envelope);
        ASSERT_TRUE(std::holds_alternative<UpdateError>(verified)) << envelope;
        EXPECT_EQ(std::get<UpdateError>(verified), error) << envelope;
    }
    // An unsigned payload that is not even JSON is a bad signature, not unreadable: the
    // payload is not looked at before the signature.
    const std::string unsignedGarbage = nlohmann::json{
        {"payload", UpdateVerifier::encodeBase64("{{{")},
        {"signature", field("signature")}}.dump();
    EXPECT_EQ(std::get<UpdateError>(verify(unsignedGarbage)), UpdateError::badSignature);
    EXPECT_EQ(text(UpdateError::checksumMismatch),
              "The downloaded update is damaged or was tampered with.");
}

TEST(ReleaseManifest, BuildNumbersPastWhatRavoHoldsAreUnreadable) {
    auto withMinimum = [](nlohmann::json minimum) {
        return nlohmann::json{{"version", "2.1"},           {"build", 210},
                              {"minimumBuild", minimum},    {"publishedAt", "2026-11-20T09:00:00Z"},
                              {"downloadURL", "https://x"}, {"sha256", "00"}};
    };
    for (const auto& minimum :
         {nlohmann::json(9223372036854775808ull), nlohmann::json(18446744073709551615ull),
          nlohmann::json(-1), nlohmann::json(1.5), nlohmann::json("200")})
        EXPECT_FALSE(ReleaseManifest::fromJson(withMinimum(minimum))) << minimum;
    const auto largest = ReleaseManifest::fromJson(withMinimum(9223372036854775807ll));
    ASSERT_TRUE(largest);
    EXPECT_EQ(UpdateDecision::decide(largest, 5).kind, UpdateDecision::Kind::required);
}

TEST(UpdateDecision, FollowsTheRunningBuild) {
    ReleaseManifest release{"2.1", 210, 200, {}, "https://x", "", {}};
    using Kind = UpdateDecision::Kind;
    EXPECT_EQ(UpdateDecision::decide(std::nullopt, 1).kind, Kind::upToDate);
    EXPECT_EQ(UpdateDecision::decide(release, 210).kind, Kind::upToDate);
    EXPECT_EQ(UpdateDecision::decide(release, 211).kind, Kind::upToDate);
    EXPECT_EQ(UpdateDecision::decide(release, 200), (UpdateDecision{Kind::available, release}));
    EXPECT_EQ(UpdateDecision::decide(release, 209).kind, Kind::available);
    EXPECT_EQ(UpdateDecision::decide(release, 199), (UpdateDecision{Kind::required, release}));
}

} // namespace
} // namespace ravo::updates
