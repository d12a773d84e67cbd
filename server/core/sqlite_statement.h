#pragma once

#include "core/result.h"

#include <cstdint>
#include <optional>
#include <sqlite3.h>
#include <string>

namespace ravo::server {

// One prepared statement, finalized on scope exit, with binds by position from 1.
class SqliteStatement {
public:
    SqliteStatement(sqlite3* db, const char* sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    SqliteStatement& bind(int index, const std::string& text);
    SqliteStatement& bind(int index, const std::optional<std::string>& text);
    SqliteStatement& bind(int index, std::int64_t value);
    SqliteStatement& bind(int index, double value);

    // True while a row is there; false at the end. Errors end the walk and show in status().
    bool step();
    Status run(); // steps to the end
    Status status() const;

    // The first row as `read` makes it, nothing when there is none, or the database's error.
    template <typename Read> auto first(Read read) -> Result<std::optional<decltype(read(*this))>> {
        using Row = decltype(read(*this));
        if (step())
            return std::optional<Row>(read(*this));
        if (auto failed = status(); !failed)
            return failed.failure();
        return std::optional<Row>();
    }

    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::int64_t integer(int column) const;
    std::optional<std::int64_t> optionalInteger(int column) const;
    std::optional<double> optionalReal(int column) const;

private:
    sqlite3* db_;
    sqlite3_stmt* statement_ = nullptr;
    int result_ = SQLITE_OK;
};

// BEGIN IMMEDIATE ... COMMIT, rolled back unless committed.
class SqliteTransaction {
public:
    explicit SqliteTransaction(sqlite3* db);
    ~SqliteTransaction();
    Status commit();

private:
    sqlite3* db_;
    bool open_ = false;
};

Status sqliteExecute(sqlite3* db, const char* sql);

} // namespace ravo::server
