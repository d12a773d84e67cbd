#pragma once

#include "server/store/sql_database.h"

#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace ravo::server {

// One connection to a SQLite file in WAL mode; prepared statements are kept for reuse.
class SqliteDatabase final : public SqlDatabase {
public:
    static Result<std::unique_ptr<SqliteDatabase>> open(const std::filesystem::path& file);
    ~SqliteDatabase() override;

    SqlDialect dialect() const override { return SqlDialect::sqlite; }
    Result<std::vector<SqlRow>> query(std::string_view sql,
                                      const std::vector<SqlValue>& parameters) override;
    Status script(std::string_view sql) override;
    Status begin() override;
    bool usable() const override { return true; }

private:
    explicit SqliteDatabase(sqlite3* db);
    Failure failure() const;

    sqlite3* db_;
    std::unordered_map<std::string, sqlite3_stmt*> prepared_;
};

} // namespace ravo::server
