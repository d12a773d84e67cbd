#pragma once

#include "server/store/sql_database.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ravo::server {

// A few connections shared by the front end's threads and the workers. Connections open
// when first needed, and one that was lost is replaced on the next use.
class SqlPool {
public:
    using Opener = std::function<Result<std::unique_ptr<SqlDatabase>>()>;

    class Lease {
    public:
        Lease(SqlPool& pool, std::unique_ptr<SqlDatabase> db) : pool_(&pool), db_(std::move(db)) {}
        Lease(Lease&& other) noexcept = default;
        Lease& operator=(Lease&&) = delete;
        ~Lease();
        SqlDatabase& operator*() const { return *db_; }
        SqlDatabase* operator->() const { return db_.get(); }

    private:
        SqlPool* pool_;
        std::unique_ptr<SqlDatabase> db_;
    };

    SqlPool(Opener open, std::size_t size, SqlDialect dialect);
    Result<Lease> acquire();
    SqlDialect dialect() const { return dialect_; }

private:
    void giveBack(std::unique_ptr<SqlDatabase> db);

    Opener open_;
    std::size_t size_;
    const SqlDialect dialect_;
    std::mutex mutex_;
    std::condition_variable returned_;
    std::vector<std::unique_ptr<SqlDatabase>> idle_;
    std::size_t leased_ = 0;
};

} // namespace ravo::server
