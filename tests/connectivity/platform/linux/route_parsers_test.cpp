#include "connectivity/platform/linux/route_parsers.h"
#include "tests/metrics/platform/linux/fixture_files.h"

#include <gtest/gtest.h>

namespace ravo::connectivity::kernel {
namespace {

using metrics::testing::fixtureText;

TEST(Routes, FindDefaultRoutesInBothFamilies) {
    EXPECT_EQ(parseDefaultRoutes(fixtureText("laptop-hybrid", "proc/net/route")),
              std::vector<std::string>{"wlp2s0"});
    EXPECT_TRUE(hasDefaultIPv6Route(fixtureText("vm-epyc", "proc/net/ipv6_route")));
    // The kernel's unreachable ::/0 entry over loopback is not a way out.
    EXPECT_FALSE(hasDefaultIPv6Route("00000000000000000000000000000000 00 "
                                     "00000000000000000000000000000000 00 "
                                     "00000000000000000000000000000000 ffffffff 00000001 "
                                     "00000000 00200200       lo\n"));
}

} // namespace
} // namespace ravo::connectivity::kernel
