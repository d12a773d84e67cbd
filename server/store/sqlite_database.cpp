#include "server/store/sqlite_database.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace ravo::server {

namespace {

bool bindValue(sqlite3_stmt* statement, int index, const SqlValue& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return sqlite3_bind_text(statement, index, text->data(), static_cast<int>(text->size()),
                                 SQLITE_TRANSIENT) == SQLITE_OK;
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return sqlite3_bind_int64(statement, index, *integer) == SQLITE_OK;
    if (const auto* real = std::get_if<double>(&value))
        return sqlite3_bind_double(statement, index, *real) == SQLITE_OK;
    return sqlite3_bind_null(statement, index) == SQLITE_OK;
}

std::optional<std::string> columnText(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return std::nullopt;
    case SQLITE_FLOAT: {
        // SQLite's own text has 15 digits; times need all of theirs.
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.17g", sqlite3_column_double(statement, column));
        return std::string(digits);
    }
    default: {
        const auto* bytes = sqlite3_column_text(statement, column);
        return std::string(reinterpret_cast<const char*>(bytes),
                           static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
    }
}

// Waits for another connection's write in short steps: SQLite's own timeout sleeps up to
// 100 ms a step, which a burst of small writes turns into long waits for everyone.
int waitForWriter(void*, int attempts) {
    constexpr int kGiveUpAfter = 40000; // about 10 s of the steps below
    if (attempts >= kGiveUpAfter)
        return 0;
    std::this_thread::sleep_for(std::chrono::microseconds(attempts < 20 ? 50 : 250));
    return 1;
}

} // namespace

Result<std::unique_ptr<SqliteDatabase>> SqliteDatabase::open(const std::filesystem::path& file) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK) {
        std::string message = db ? sqlite3_errmsg(db) : "out of memory";
        sqlite3_close(db);
        return Failure{"cannot open the database " + file.string() + ": " + message};
    }
    sqlite3_busy_handler(db, waitForWriter, nullptr);
    std::unique_ptr<SqliteDatabase> database(new SqliteDatabase(db));
    if (auto done = database->script(
            "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON");
        !done)
        return Failure{"cannot open the database " + file.string() + ": " + done.error()};
    return database;
}

SqliteDatabase::SqliteDatabase(sqlite3* db) : db_(db) {}

SqliteDatabase::~SqliteDatabase() {
    for (auto& [sql, statement] : prepared_)
        sqlite3_finalize(statement);
    sqlite3_close(db_);
}

Failure SqliteDatabase::failure() const {
    ++databaseErrorCount();
    return Failure{std::string("database: ") + sqlite3_errmsg(db_)};
}

Result<std::vector<SqlRow>> SqliteDatabase::query(std::string_view sql,
                                                  const std::vector<SqlValue>& parameters) {
    auto& statement = prepared_[std::string(sql)];
    if (!statement && sqlite3_prepare_v2(db_, sql.data(), static_cast<int>(sql.size()), &statement,
                                         nullptr) != SQLITE_OK) {
        prepared_.erase(std::string(sql));
        return failure();
    }
    struct Reset {
        sqlite3_stmt* statement;
        ~Reset() {
            sqlite3_reset(statement);
            sqlite3_clear_bindings(statement);
        }
    } reset{statement};
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (!bindValue(statement, static_cast<int>(i + 1), parameters[i]))
            return failure();
    std::vector<SqlRow> rows;
    const int columns = sqlite3_column_count(statement);
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        SqlRow row;
        row.columns.reserve(static_cast<std::size_t>(columns));
        for (int column = 0; column < columns; ++column)
            row.columns.push_back(columnText(statement, column));
        rows.push_back(std::move(row));
    }
    if (result != SQLITE_DONE)
        return failure();
    return rows;
}

Status SqliteDatabase::script(std::string_view sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, std::string(sql).c_str(), nullptr, nullptr, &message) == SQLITE_OK)
        return success();
    std::string text = message ? message : sqlite3_errmsg(db_);
    sqlite3_free(message);
    ++databaseErrorCount();
    return Failure{"database: " + text};
}

Status SqliteDatabase::begin() {
    // IMMEDIATE takes the write lock now: a reader turning writer later could deadlock.
    return script("BEGIN IMMEDIATE");
}

} // namespace ravo::server
