#include "cloud/core/sites_listing.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::cloud {
namespace {

using Health = SiteState::Health;

WebsitesStatus shopDown() {
    WebsitesStatus status;
    status.isSignedIn = true;
    status.sites = {{"a1", "https://shop.example/", "Shop", std::nullopt, true}};
    SiteState down;
    down.health = Health::down;
    down.problem = SiteProblem{SiteProblem::Kind::httpStatus, std::nullopt, 503};
    status.states["a1"] = down;
    return status;
}

TEST(SitesListing, AFailureIsSaidApartFromTheSitesAndAsAnErrorObjectInJson) {
    auto status = shopDown();
    status.error = "The Ravo server can't be reached.";
    const auto json = sitesListing(status, true);
    EXPECT_EQ(json.error, status.error);
    const auto failed = nlohmann::json::parse(json.output);
    EXPECT_EQ(failed["error"]["message"], "The Ravo server can't be reached.");
    const auto& sites = failed["sites"];
    ASSERT_TRUE(sites.is_array());
    ASSERT_EQ(sites.size(), 1u);
    EXPECT_EQ(sites[0]["health"], "down");

    const auto text = sitesListing(status, false);
    EXPECT_EQ(text.error, status.error);
    EXPECT_EQ(text.output.find("can't be reached"), std::string::npos) << text.output;
    EXPECT_NE(text.output.find("Shop  https://shop.example/  The server answered HTTP 503\n"),
              std::string::npos)
        << text.output;

    status.sites.clear();
    status.error.reset();
    EXPECT_EQ(sitesListing(status, false).output,
              "No websites yet. Add one with `ravo sites add example.com`.\n");
    EXPECT_EQ(sitesListing(status, true), (SitesListing{"[]\n", std::nullopt}));
}

TEST(SitesListing, AnAnswerOverTheSocketIsTheListingItWasMadeOf) {
    for (const auto& listing :
         {SitesListing{"[]\n", std::nullopt}, SitesListing{"", "The Ravo server can't be reached."},
          // Output that looks like an answer's head stays output.
          SitesListing{"failed x\nok\n\n", "HTTP 500"}}) {
        const auto back = fromAnswer(toAnswer(listing));
        ASSERT_TRUE(back.has_value()) << listing.output;
        EXPECT_EQ(*back, listing);
    }
    // A reason over several lines arrives as one.
    const auto folded = fromAnswer(toAnswer({"out\n", "first\nsecond"}));
    ASSERT_TRUE(folded.has_value());
    EXPECT_EQ(folded->error, "first second");
    EXPECT_EQ(folded->output, "out\n");
}

TEST(SitesListing, AnswersOfAnotherFormAreNotTaken) {
    for (const char* answer :
         {"", "ok", "[]\n", "failed \n", "failed", "Failed why\n", "okay\n[]", " ok\n", "ok \n"})
        EXPECT_EQ(fromAnswer(answer), std::nullopt) << answer;
}

} // namespace
} // namespace ravo::cloud
