#include "server/store/sql_database.h"

#include <charconv>
#include <cstdlib>

namespace ravo::server {

std::atomic<std::uint64_t>& databaseErrorCount() {
    static std::atomic<std::uint64_t> count{0};
    return count;
}

std::string SqlRow::text(std::size_t column) const {
    return optionalText(column).value_or(std::string());
}

std::optional<std::string> SqlRow::optionalText(std::size_t column) const {
    return column < columns.size() ? columns[column] : std::nullopt;
}

std::int64_t SqlRow::integer(std::size_t column) const {
    return optionalInteger(column).value_or(0);
}

std::optional<std::int64_t> SqlRow::optionalInteger(std::size_t column) const {
    const auto value = optionalText(column);
    if (!value)
        return std::nullopt;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(value->data(), value->data() + value->size(), number);
    if (error == std::errc() && end == value->data() + value->size())
        return number;
    // A whole number that the database printed as a real ("3.0").
    if (const auto real = optionalReal(column))
        return static_cast<std::int64_t>(*real);
    return std::nullopt;
}

double SqlRow::real(std::size_t column) const {
    return optionalReal(column).value_or(0.0);
}

std::optional<double> SqlRow::optionalReal(std::size_t column) const {
    const auto value = optionalText(column);
    if (!value || value->empty())
        return std::nullopt;
    char* end = nullptr;
    const double number = std::strtod(value->c_str(), &end);
    if (end != value->c_str() + value->size())
        return std::nullopt;
    return number;
}

Status SqlDatabase::execute(std::string_view sql, const std::vector<SqlValue>& parameters) {
    auto rows = query(sql, parameters);
    if (!rows)
        return rows.failure();
    return success();
}

Result<std::optional<SqlRow>> SqlDatabase::first(std::string_view sql,
                                                 const std::vector<SqlValue>& parameters) {
    auto rows = query(sql, parameters);
    if (!rows)
        return rows.failure();
    if (rows->empty())
        return std::optional<SqlRow>();
    return std::optional<SqlRow>(std::move(rows).value().front());
}

SqlTransaction::SqlTransaction(SqlDatabase& db) : db_(db), begun_(db.begin()) {
    open_ = begun_.ok();
}

SqlTransaction::~SqlTransaction() {
    if (open_)
        db_.script("ROLLBACK");
}

Status SqlTransaction::commit() {
    if (!open_)
        return begun_.ok() ? Failure{"database: the transaction has ended"} : begun_;
    open_ = false;
    return db_.script("COMMIT");
}

} // namespace ravo::server
