#include "server/store/postgres_database.h"

#include <libpq-fe.h>

#include <cstdio>

namespace ravo::server {

namespace {

std::string errorText(const char* message) {
    std::string text = message ? message : "unknown error";
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return "database: " + text;
}

std::optional<std::string> parameterText(const SqlValue& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return *text;
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return std::to_string(*integer);
    if (const auto* real = std::get_if<double>(&value)) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.17g", *real);
        return std::string(digits);
    }
    return std::nullopt;
}

} // namespace

std::string numberedPlaceholders(std::string_view sql) {
    std::string numbered;
    numbered.reserve(sql.size() + 16);
    int next = 1;
    bool quoted = false;
    for (const char c : sql) {
        if (c == '\'')
            quoted = !quoted;
        if (c == '?' && !quoted)
            numbered += "$" + std::to_string(next++);
        else
            numbered += c;
    }
    return numbered;
}

Result<std::unique_ptr<PostgresDatabase>> PostgresDatabase::open(const std::string& url) {
    PGconn* connection = PQconnectdb(url.c_str());
    if (PQstatus(connection) != CONNECTION_OK) {
        std::string message = errorText(PQerrorMessage(connection));
        PQfinish(connection);
        ++databaseErrorCount();
        return Failure{"cannot connect to PostgreSQL: " + message.substr(10)};
    }
    std::unique_ptr<PostgresDatabase> database(new PostgresDatabase(connection));
    if (auto quiet = database->script("SET client_min_messages = warning"); !quiet)
        return quiet.failure();
    return database;
}

PostgresDatabase::PostgresDatabase(PGconn* connection) : connection_(connection) {}

PostgresDatabase::~PostgresDatabase() {
    PQfinish(connection_);
}

bool PostgresDatabase::usable() const {
    return PQstatus(connection_) == CONNECTION_OK;
}

Result<std::vector<SqlRow>> PostgresDatabase::query(std::string_view sql,
                                                    const std::vector<SqlValue>& parameters) {
    std::vector<std::optional<std::string>> texts;
    texts.reserve(parameters.size());
    for (const auto& parameter : parameters)
        texts.push_back(parameterText(parameter));
    std::vector<const char*> values;
    for (const auto& text : texts)
        values.push_back(text ? text->c_str() : nullptr);
    PGresult* result =
        PQexecParams(connection_, numberedPlaceholders(sql).c_str(),
                     static_cast<int>(values.size()), nullptr, values.data(), nullptr, nullptr, 0);
    struct Clear {
        PGresult* result;
        ~Clear() { PQclear(result); }
    } clear{result};
    const auto status = PQresultStatus(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        ++databaseErrorCount();
        return Failure{
            errorText(result ? PQresultErrorMessage(result) : PQerrorMessage(connection_))};
    }
    std::vector<SqlRow> rows;
    const int count = PQntuples(result);
    const int columns = PQnfields(result);
    rows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        SqlRow row;
        for (int column = 0; column < columns; ++column)
            row.columns.push_back(PQgetisnull(result, i, column)
                                      ? std::nullopt
                                      : std::optional<std::string>(PQgetvalue(result, i, column)));
        rows.push_back(std::move(row));
    }
    return rows;
}

Status PostgresDatabase::script(std::string_view sql) {
    PGresult* result = PQexec(connection_, std::string(sql).c_str());
    const auto status = PQresultStatus(result);
    std::string message =
        status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK
            ? std::string()
            : errorText(result ? PQresultErrorMessage(result) : PQerrorMessage(connection_));
    PQclear(result);
    if (!message.empty()) {
        ++databaseErrorCount();
        return Failure{message};
    }
    return success();
}

Status PostgresDatabase::begin() {
    return script("BEGIN");
}

} // namespace ravo::server
