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
        auto opened = server::SqlStore::open(address(kind, folder));
        EXPECT_TRUE(opened.ok()) << opened.error();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }
    // An empty database, as --database takes it.
    static std::string address(const std::string& kind, const std::filesystem::path& folder) {
        if (kind != "postgresql")
            return "sqlite:" + (folder / "ravo.db").string();
        return server().freshDatabase();
    }
    // The PostgreSQL the suite's databases live on.
    static TemporaryPostgres& server() {
        if (!postgres())
            postgres() = std::make_unique<TemporaryPostgres>();
        EXPECT_EQ(postgres()->failure(), "");
        return *postgres();
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
