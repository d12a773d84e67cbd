#include "server/auth/apple_tokens.h"
#include "server/config/secrets.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

const AppleSettings settings{"io.example.ravo.web", "TEAM123456", "KEY1234567", "",
                             "https://appleid.apple.com/"};
const nlohmann::json keys = {
    {"keys", {{{"kty", "RSA"}, {"kid", "k1"}, {"n", "sXch"}, {"e", "AQAB"}}}}};

std::string jwt(const nlohmann::json& header, const nlohmann::json& claims) {
    return Secrets::base64url(header.dump()) + "." + Secrets::base64url(claims.dump()) + "." +
           Secrets::base64url("not a signature");
}

TEST(AppleTokens, IdentityTokensThatAreNotAppleSignedOnesAreRefusedWithAReason) {
    const TimePoint now = fromUnixSeconds(1'800'000'000);
    const auto reason = [&](std::string_view token) {
        const auto verified = verifyAppleIdToken(token, keys, settings, now);
        return verified ? std::string("accepted") : verified.error();
    };
    EXPECT_EQ(reason("only.two"), "the identity token is not a JWT");
    EXPECT_EQ(reason("a.b.c.d"), "the identity token is not a JWT");
    EXPECT_EQ(reason("!!.??.**"), "the identity token is not a JWT");
    EXPECT_EQ(reason(jwt({{"alg", "none"}}, {{"sub", "x"}})),
              "the identity token is not signed with RS256");
    EXPECT_EQ(reason(jwt({{"alg", "HS256"}, {"kid", "k1"}}, {{"sub", "x"}})),
              "the identity token is not signed with RS256");
    EXPECT_EQ(reason(jwt({{"alg", "RS256"}, {"kid", "k1"}}, {{"sub", "x"}})),
              "the identity token's signature is wrong");
    EXPECT_EQ(reason(jwt({{"alg", "RS256"}, {"kid", "unknown"}}, {{"sub", "x"}})),
              "the identity token's signature is wrong");
    EXPECT_EQ(verifyAppleIdToken(jwt({{"alg", "RS256"}}, nlohmann::json::object()),
                                 nlohmann::json::array(), settings, now)
                  .error(),
              "Apple's keys are unreadable");
}

TEST(AppleTokens, TheClientSecretIsAnES256TokenForApple) {
    EXPECT_EQ(appleClientSecret(settings, Clock::now()).error(),
              "the Apple key is not a PKCS#8 EC key");
    const std::string url = appleAuthorizeURL(settings, "https://r.example/cb?x=1", "state 1");
    EXPECT_EQ(url, "https://appleid.apple.com/auth/authorize?response_type=code&response_mode="
                   "form_post&scope=email&client_id=io.example.ravo.web&redirect_uri=https%3A%2F%"
                   "2Fr.example%2Fcb%3Fx%3D1&state=state%201");
}

TEST(AppleTokens, FormsDecodeAsBrowsersEncodeThem) {
    const auto form = parseForm("code=c%2Fd+e&state=5&user=%7B%22a%22%7D&state=6&bad=%zz&=x&flag");
    EXPECT_EQ(form.at("code"), "c/d e");
    EXPECT_EQ(form.at("state"), "5"); // the first one counts
    EXPECT_EQ(form.at("user"), "{\"a\"}");
    EXPECT_EQ(form.at("bad"), "%zz");
    EXPECT_EQ(form.at("flag"), "");
    EXPECT_FALSE(form.contains(""));
    EXPECT_EQ(parseForm("a=%4").at("a"), "%4");
    EXPECT_EQ(parseForm("a=%4G%41").at("a"), "%4GA");
    EXPECT_EQ(Secrets::fromBase64url("aGk"), "hi");
    EXPECT_EQ(Secrets::fromBase64url("aGk="), std::nullopt);
    EXPECT_EQ(Secrets::fromBase64url("a"), std::nullopt);
    EXPECT_EQ(Secrets::fromBase64url(""), "");
}

} // namespace
} // namespace ravo::server
