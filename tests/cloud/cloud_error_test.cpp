#include "cloud/core/cloud_error.h"

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

using ErrorKind = CloudError::Kind;

TEST(CloudError, AnswersAreClassifiedByStatusFirst) {
    EXPECT_EQ(classifyAnswer(200, "garbage"), std::nullopt);
    EXPECT_EQ(classifyAnswer(204, ""), std::nullopt);
    // 429 and 401 whatever their bodies say.
    EXPECT_EQ(classifyAnswer(429, R"({"detail":"slow down"})")->kind, ErrorKind::rateLimited);
    EXPECT_EQ(classifyAnswer(401, R"({"detail":"token_invalid"})")->kind, ErrorKind::unauthorized);
    // Other 4xx carry the detail, or the status when there is none.
    EXPECT_EQ(classifyAnswer(403, R"({"detail":"apple_not_configured"})")->text(),
              "apple_not_configured");
    EXPECT_EQ(classifyAnswer(404, "<html>not found</html>")->text(), "HTTP 404");
    EXPECT_EQ(classifyAnswer(403, R"({"detail":42})")->text(), "HTTP 403");
    EXPECT_EQ(classifyAnswer(400, R"([{"detail":"x"}])")->text(), "HTTP 400");
    EXPECT_EQ(classifyAnswer(500, R"({"detail":"boom"})")->text(),
              "The Ravo server failed (HTTP 500).");
    EXPECT_EQ(classifyAnswer(302, "")->kind, ErrorKind::server);
    EXPECT_EQ(classifyAnswer(0, "")->status, 0);
    EXPECT_EQ(CloudError{ErrorKind::signedOut}.text(), "Sign in to your Ravo account first.");
    EXPECT_EQ(CloudError{ErrorKind::network}.text(), "The Ravo server can't be reached.");
    EXPECT_EQ(CloudError{ErrorKind::unauthorized}.text(),
              "The sign-in expired or was revoked. Sign in again.");
    EXPECT_EQ(CloudError{ErrorKind::rateLimited}.text(),
              "Too many attempts. Wait a moment and try again.");
}

} // namespace
} // namespace ravo::cloud
