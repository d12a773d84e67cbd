#pragma once

#include "base/result.h"
#include "base/time.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ravo::server {

using SqlValue = std::variant<std::monostate, std::int64_t, double, std::string>;

inline SqlValue sqlValue(const std::optional<std::string>& text) {
    return text ? SqlValue(*text) : SqlValue();
}
inline SqlValue sqlValue(const std::optional<double>& number) {
    return number ? SqlValue(*number) : SqlValue();
}
inline SqlValue sqlValue(const std::optional<std::int64_t>& number) {
    return number ? SqlValue(*number) : SqlValue();
}

// Times are kept as Unix seconds.
inline std::optional<TimePoint> dateFromSeconds(const std::optional<double>& seconds) {
    return seconds ? std::optional(fromUnixSeconds(*seconds)) : std::nullopt;
}
inline SqlValue secondsValue(const std::optional<TimePoint>& date) {
    return date ? SqlValue(unixSeconds(*date)) : SqlValue();
}

// One result row as text, the way both databases can hand it over; readers convert.
struct SqlRow {
    std::vector<std::optional<std::string>> columns;

    std::string text(std::size_t column) const;
    std::optional<std::string> optionalText(std::size_t column) const;
    std::int64_t integer(std::size_t column) const; // 0 when NULL or not a number
    std::optional<std::int64_t> optionalInteger(std::size_t column) const;
    double real(std::size_t column) const;
    std::optional<double> optionalReal(std::size_t column) const;
};

enum class SqlDialect { sqlite, postgres };

// One connection. Statements use "?" placeholders in both dialects.
class SqlDatabase {
public:
    virtual ~SqlDatabase() = default;
    virtual SqlDialect dialect() const = 0;
    // One statement; the rows it returns (SELECT, or RETURNING).
    virtual Result<std::vector<SqlRow>> query(std::string_view sql,
                                              const std::vector<SqlValue>& parameters = {}) = 0;
    // Several statements without parameters.
    virtual Status script(std::string_view sql) = 0;
    virtual Status begin() = 0;
    // False once the connection is lost; the pool then opens a new one.
    virtual bool usable() const = 0;

    Status execute(std::string_view sql, const std::vector<SqlValue>& parameters = {});
    // The first row, or nothing.
    Result<std::optional<SqlRow>> first(std::string_view sql,
                                        const std::vector<SqlValue>& parameters = {});
};

// Statements and connections that failed in this process, for the operator's metrics.
std::atomic<std::uint64_t>& databaseErrorCount();

// BEGIN ... COMMIT, rolled back unless committed.
class SqlTransaction {
public:
    explicit SqlTransaction(SqlDatabase& db);
    ~SqlTransaction();
    SqlTransaction(const SqlTransaction&) = delete;
    SqlTransaction& operator=(const SqlTransaction&) = delete;
    Status commit();

private:
    SqlDatabase& db_;
    Status begun_;
    bool open_ = false;
};

} // namespace ravo::server
