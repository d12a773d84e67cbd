#pragma once

#include "server/store/sql_database.h"

#include <memory>
#include <string>

typedef struct pg_conn PGconn;

namespace ravo::server {

// One libpq connection. "?" placeholders become $1, $2, ...; values travel as text.
class PostgresDatabase final : public SqlDatabase {
public:
    static Result<std::unique_ptr<PostgresDatabase>> open(const std::string& url);
    ~PostgresDatabase() override;

    SqlDialect dialect() const override { return SqlDialect::postgres; }
    Result<std::vector<SqlRow>> query(std::string_view sql,
                                      const std::vector<SqlValue>& parameters) override;
    Status script(std::string_view sql) override;
    Status begin() override;
    bool usable() const override;

private:
    explicit PostgresDatabase(PGconn* connection);

    PGconn* connection_;
};

// "?" placeholders numbered the way PostgreSQL wants them; text in quotes is left alone.
std::string numberedPlaceholders(std::string_view sql);

} // namespace ravo::server
