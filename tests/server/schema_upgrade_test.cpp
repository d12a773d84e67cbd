#include "server/config/secrets.h"
#include "server/store/postgres_database.h"
#include "server/store/schema_migrations.h"
#include "server/store/sql_store.h"
#include "server/store/sqlite_database.h"
#include "tests/support/both_databases.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>
#include <thread>

namespace ravo::server {
namespace {

const std::filesystem::path kFixtures = std::filesystem::path(RAVO_FIXTURES) / "server";

std::string contents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::unique_ptr<SqlDatabase> connect(const std::string& address) {
    if (address.starts_with("sqlite:")) {
        auto db = SqliteDatabase::open(address.substr(7));
        EXPECT_TRUE(db.ok()) << db.error();
        return db.ok() ? std::move(db).value() : nullptr;
    }
    auto db = PostgresDatabase::open(address);
    EXPECT_TRUE(db.ok()) << db.error();
    return db.ok() ? std::move(db).value() : nullptr;
}

bool tableExists(SqlDatabase& db, const std::string& table) {
    auto row = db.first(db.dialect() == SqlDialect::sqlite
                            ? "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?"
                            : "SELECT 1 WHERE to_regclass(?) IS NOT NULL",
                        {table});
    return row.ok() && row->has_value();
}

// Each case runs on a SQLite file and on a database of one PostgreSQL the suite starts.
class SchemaUpgradeTest : public ::testing::TestWithParam<std::string> {
protected:
    static void TearDownTestSuite() { testing::BothDatabases::stop(); }

    // A database as the first release left it, and what that release read from it.
    std::string firstReleaseDatabase() {
        if (GetParam() == "sqlite") {
            const auto file = folder / "first-release.db";
            std::filesystem::copy_file(kFixtures / "first-release.sqlite.db", file);
            return "sqlite:" + file.string();
        }
        const std::string address = testing::BothDatabases::address(GetParam(), folder.path());
        EXPECT_EQ(testing::BothDatabases::server().load(address,
                                                        kFixtures / "first-release.postgresql.sql"),
                  0);
        return address;
    }
    nlohmann::json firstReleaseReadings() {
        return nlohmann::json::parse(
            contents(kFixtures / ("first-release." + GetParam() + ".json")));
    }

    testing::TemporaryFolder folder;
};

TEST_P(SchemaUpgradeTest, TheFirstReleasesDatabaseKeepsEveryAccountSiteAndItsMonthOfHistory) {
    const std::string address = firstReleaseDatabase();
    {
        auto db = connect(address);
        ASSERT_NE(db, nullptr);
        EXPECT_EQ(schemaVersion(*db).value(), 0);
    }
    auto opened = SqlStore::open(address);
    ASSERT_TRUE(opened.ok()) << opened.error();
    SqlStore& store = **opened;
    const auto expected = firstReleaseReadings();
    const TimePoint then = fromUnixSeconds(expected["now"].get<double>());
    ASSERT_EQ(expected["accounts"].size(), 3u);
    for (const auto& account : expected["accounts"]) {
        const std::string email = account["email"];
        auto found = store.accountForEmail(email, false);
        ASSERT_TRUE(found.ok()) << email << ": " << found.error();
        EXPECT_EQ(found->id, account["id"]);
        EXPECT_EQ(found->passwordHash.has_value(), account["password"].get<bool>());
        if (found->passwordHash) {
            EXPECT_TRUE(Secrets::passwordMatches("correct horse battery", *found->passwordHash));
        }
        nlohmann::json sites = nlohmann::json::array();
        const auto stored = store.sites(found->id).value();
        for (const auto& site : stored)
            sites.push_back(wire::toJson(site));
        EXPECT_EQ(sites, account["sites"]) << email;
        nlohmann::json statuses = nlohmann::json::array();
        const auto now = store.siteStatuses(found->id).value();
        for (const auto& status : now)
            statuses.push_back(wire::toJson(status));
        EXPECT_EQ(statuses, account["statuses"]) << email;
        for (const auto& [site, history] : account["histories"].items()) {
            auto kept = store.siteHistory(found->id, site, then);
            ASSERT_TRUE(kept.ok() && kept->has_value()) << site;
            EXPECT_EQ(wire::toJson(**kept), history) << site;
        }
        EXPECT_EQ(wire::toJson(store.notificationSettings(found->id).value()),
                  account["notifications"])
            << email;
    }
    auto db = connect(address);
    ASSERT_NE(db, nullptr);
    const auto span = db->first("SELECT min(hour), max(hour), count(*) FROM hourly_stats").value();
    EXPECT_GE(span->real(1) - span->real(0), 29 * 86400.0) << "a month of hourly figures";
    EXPECT_GE(span->integer(2), 4 * 29 * 24);
    EXPECT_EQ(schemaVersion(*db).value(), latestSchemaVersion());
    // Opened again, there is nothing left to do.
    EXPECT_EQ(upgradeSchema(*db, schemaMigrations()).value(),
              (SchemaUpgrade{latestSchemaVersion(), latestSchemaVersion()}));
}

TEST_P(SchemaUpgradeTest, ADatabaseOfANewerReleaseIsRefusedAndLeftAsItWas) {
    const std::string address = testing::BothDatabases::address(GetParam(), folder.path());
    {
        auto store = SqlStore::open(address);
        ASSERT_TRUE(store.ok()) << store.error();
        ASSERT_TRUE((*store)->accountForEmail("ada@example.org", true).ok());
    }
    {
        auto db = connect(address);
        ASSERT_NE(db, nullptr);
        ASSERT_TRUE(db->execute("UPDATE schema_version SET version = ?",
                                {std::int64_t{latestSchemaVersion() + 1}}));
        // What a newer release might have added.
        ASSERT_TRUE(db->script("CREATE TABLE later_things (id TEXT)"));
    }
    const std::string before =
        GetParam() == "sqlite" ? contents(folder / "ravo.db") : std::string();

    auto refused = SqlStore::open(address);
    ASSERT_FALSE(refused.ok());
    EXPECT_NE(refused.error().find("made by a newer ravo-server"), std::string::npos)
        << refused.error();
    EXPECT_EQ(refused.error().find('\n'), std::string::npos);

    if (GetParam() == "sqlite") {
        EXPECT_EQ(contents(folder / "ravo.db"), before);
    }
    auto db = connect(address);
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(schemaVersion(*db).value(), latestSchemaVersion() + 1);
    EXPECT_TRUE(tableExists(*db, "later_things"));
    EXPECT_EQ(db->first("SELECT count(*) FROM accounts").value()->integer(0), 1);
}

TEST_P(SchemaUpgradeTest, AStepThatFailsUndoesTheStepsBeforeIt) {
    const std::string address = testing::BothDatabases::address(GetParam(), folder.path());
    auto db = connect(address);
    ASSERT_NE(db, nullptr);
    const auto creates = [](std::string table) {
        return
            [table](SqlDatabase& sql) { return sql.script("CREATE TABLE " + table + " (x TEXT)"); };
    };
    const std::vector<SchemaMigration> broken = {
        {1, "first", creates("first_step")},
        {2, "second", [](SqlDatabase& sql) { return sql.script("CREATE TABLE (nonsense"); }},
    };
    auto failed = upgradeSchema(*db, broken);
    ASSERT_FALSE(failed.ok());
    EXPECT_NE(failed.error().find("version 2 (second)"), std::string::npos) << failed.error();
    EXPECT_EQ(schemaVersion(*db).value(), 0);
    EXPECT_FALSE(tableExists(*db, "first_step"));

    const std::vector<SchemaMigration> mended = {
        {1, "first", creates("first_step")},
        {2, "second", creates("second_step")},
    };
    EXPECT_EQ(upgradeSchema(*db, mended).value(), (SchemaUpgrade{0, 2}));
    EXPECT_TRUE(tableExists(*db, "first_step") && tableExists(*db, "second_step"));
    // Only the steps a database has not had run on it.
    auto third = mended;
    third.push_back({3, "third", creates("third_step")});
    EXPECT_EQ(upgradeSchema(*db, third).value(), (SchemaUpgrade{2, 3}));
    EXPECT_TRUE(tableExists(*db, "third_step"));
}

TEST_P(SchemaUpgradeTest, ProcessesStartingTogetherUpgradeOnce) {
    const std::string address = testing::BothDatabases::address(GetParam(), folder.path());
    std::vector<std::thread> starts;
    std::vector<std::string> errors(4);
    for (std::size_t n = 0; n < errors.size(); ++n)
        starts.emplace_back([&, n] {
            auto store = SqlStore::open(address);
            if (!store)
                errors[n] = store.error();
        });
    for (auto& start : starts)
        start.join();
    for (const auto& error : errors)
        EXPECT_EQ(error, "");
    auto db = connect(address);
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(schemaVersion(*db).value(), latestSchemaVersion());
    EXPECT_EQ(db->first("SELECT count(*) FROM schema_version").value()->integer(0), 1);
}

INSTANTIATE_TEST_SUITE_P(BothDatabases, SchemaUpgradeTest,
                         ::testing::Values("sqlite", "postgresql"), testing::BothDatabases::name);

} // namespace
} // namespace ravo::server
