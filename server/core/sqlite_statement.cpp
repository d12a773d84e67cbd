#include "server/core/sqlite_statement.h"

namespace ravo::server {

SqliteStatement::SqliteStatement(sqlite3* db, const char* sql) : db_(db) {
    result_ = sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr);
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(statement_);
}

SqliteStatement& SqliteStatement::bind(int index, const std::string& text) {
    if (result_ == SQLITE_OK)
        result_ = sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                                    SQLITE_TRANSIENT);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, const std::optional<std::string>& text) {
    if (!text) {
        if (result_ == SQLITE_OK)
            result_ = sqlite3_bind_null(statement_, index);
        return *this;
    }
    return bind(index, *text);
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t value) {
    if (result_ == SQLITE_OK)
        result_ = sqlite3_bind_int64(statement_, index, value);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, double value) {
    if (result_ == SQLITE_OK)
        result_ = sqlite3_bind_double(statement_, index, value);
    return *this;
}

bool SqliteStatement::step() {
    if (result_ != SQLITE_OK && result_ != SQLITE_ROW)
        return false;
    result_ = sqlite3_step(statement_);
    if (result_ == SQLITE_ROW)
        return true;
    if (result_ == SQLITE_DONE)
        result_ = SQLITE_OK;
    return false;
}

Status SqliteStatement::run() {
    while (step()) {
    }
    return status();
}

Status SqliteStatement::status() const {
    if (result_ == SQLITE_OK || result_ == SQLITE_ROW)
        return success();
    return Failure{std::string("database: ") + sqlite3_errmsg(db_)};
}

std::string SqliteStatement::text(int column) const {
    return optionalText(column).value_or(std::string());
}

std::optional<std::string> SqliteStatement::optionalText(int column) const {
    if (sqlite3_column_type(statement_, column) == SQLITE_NULL)
        return std::nullopt;
    const auto* bytes = sqlite3_column_text(statement_, column);
    return std::string(reinterpret_cast<const char*>(bytes),
                       static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::optional<std::int64_t> SqliteStatement::optionalInteger(int column) const {
    if (sqlite3_column_type(statement_, column) == SQLITE_NULL)
        return std::nullopt;
    return integer(column);
}

std::optional<double> SqliteStatement::optionalReal(int column) const {
    if (sqlite3_column_type(statement_, column) == SQLITE_NULL)
        return std::nullopt;
    return sqlite3_column_double(statement_, column);
}

SqliteTransaction::SqliteTransaction(sqlite3* db) : db_(db) {
    open_ = sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
}

SqliteTransaction::~SqliteTransaction() {
    if (open_)
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
}

Status SqliteTransaction::commit() {
    if (!open_)
        return Failure{std::string("database: ") + sqlite3_errmsg(db_)};
    open_ = false;
    return sqliteExecute(db_, "COMMIT");
}

Status sqliteExecute(sqlite3* db, const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &message) == SQLITE_OK)
        return success();
    std::string text = message ? message : sqlite3_errmsg(db);
    sqlite3_free(message);
    return Failure{"database: " + text};
}

} // namespace ravo::server
