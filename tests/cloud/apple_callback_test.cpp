#include "cloud/core/apple_callback.h"

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

using CallbackKind = AppleCallback::Kind;

TEST(AppleCallback, TheCodeOfThisAttemptIsTaken) {
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=a1&code=c%2B2", "a1"),
              (AppleCallback{CallbackKind::code, "c+2"}));
    // Browsers may change the case of scheme and host, and add a fragment.
    EXPECT_EQ(AppleCallback::parse("RAVO://Auth/callback?code=xyz&attempt=a1#_", "a1"),
              (AppleCallback{CallbackKind::code, "xyz"}));
}

TEST(AppleCallback, AnythingThatIsNotThisAttemptsCodeFailsWithTheUsersText) {
    const AppleCallback failed{CallbackKind::failure, AppleCallback::kGenericFailure};
    // Another attempt's code, e.g. from an older browser tab, must not sign in.
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=old&code=c", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?code=c", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=&code=c", ""), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=a1", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=a1&code=", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/other?attempt=a1&code=c", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("https://auth/callback?attempt=a1&code=c", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo:/", "a1"), failed);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=a1&error=boom", "a1"), failed);

    EXPECT_EQ(
        AppleCallback::parse("ravo://auth/callback?attempt=a1&error=rate_limited", "a1"),
        (AppleCallback{CallbackKind::failure, "Too many attempts. Wait a moment and try again."}));
    EXPECT_EQ(
        AppleCallback::parse("ravo://auth/callback?attempt=a1&error=apple_not_configured", "a1")
            .text,
        "Sign in with Apple isn't available right now. Use the email code instead.");
}

TEST(AppleCallback, CancellingIsQuietWhicheverAttemptItCameFrom) {
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=a1&error=cancelled", "a1").kind,
              CallbackKind::cancelled);
    EXPECT_EQ(AppleCallback::parse("ravo://auth/callback?attempt=zz&error=cancelled", "a1").kind,
              CallbackKind::cancelled);
}

} // namespace
} // namespace ravo::cloud
