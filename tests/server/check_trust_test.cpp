#include "base/atomic_file.h"
#include "server/checker/check_trust.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <openssl/x509_vfy.h>

#include <thread>
#include <vector>

namespace ravo::server {
namespace {

TEST(CheckTrust, AuthoritiesThatCannotBeReadTrustNothing) {
    testing::TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "garbage.pem", "not a certificate\n").ok());
    for (const std::string& file :
         {(folder / "missing.pem").string(), (folder / "garbage.pem").string()}) {
        CheckTrust trust(file);
        EXPECT_EQ(trust.authorities(), nullptr) << file;
        EXPECT_EQ(trust.authorities(), nullptr) << file << ", asked again";
    }
}

TEST(CheckTrust, EveryThreadGetsTheOneStoreReadOnce) {
    CheckTrust trust(std::nullopt); // the system's
    std::vector<X509_STORE*> stores(8, nullptr);
    std::vector<std::thread> threads;
    for (auto& store : stores)
        threads.emplace_back([&trust, &store] { store = trust.authorities(); });
    for (auto& thread : threads)
        thread.join();
    ASSERT_NE(stores[0], nullptr);
    for (X509_STORE* store : stores) {
        EXPECT_EQ(store, stores[0]);
        X509_STORE_free(store); // each caller's own reference
    }
    // The trust's own reference outlives the callers'.
    X509_STORE* again = trust.authorities();
    EXPECT_EQ(again, stores[0]);
    X509_STORE_free(again);
}

} // namespace
} // namespace ravo::server
