#pragma once

#include "server/store/sql_store.h"
#include "tests/support/temporary_postgres.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

namespace ravo::testing {

// For suites whose every case runs on both databases: "sqlite" opens a file in `folder`,
// "postgresql" a fresh database of one PostgreSQL, started for the first case that needs it
// and stopped with the suite (call stop() from TearDownTestSuite).
class BothDatabases {
public:
    static std::unique_ptr<server::SqlStore> open(const std::string& kind,
                                                  const std::filesystem::path& folder) {
        std::string address = "sqlite:" + (folder / "ravo.db").string();
        if (kind == "postgresql") {
            if (!postgres())
                postgres() = std::make_unique<TemporaryPostgres>();
            EXPECT_EQ(postgres()->failure(), "");
            address = postgres()->freshDatabase();
        }
        auto opened = server::SqlStore::open(address);
        EXPECT_TRUE(opened.ok()) << opened.error();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }
    static void stop() { postgres().reset(); }
    static std::string name(const ::testing::TestParamInfo<std::string>& test) {
        return test.param;
    }

private:
    static std::unique_ptr<TemporaryPostgres>& postgres() {
        static std::unique_ptr<TemporaryPostgres> server;
        return server;
    }
};

} // namespace ravo::testing
