#include "server/store/sql_pool.h"

namespace ravo::server {

SqlPool::Lease::~Lease() {
    if (db_)
        pool_->giveBack(std::move(db_));
}

SqlPool::SqlPool(Opener open, std::size_t size, SqlDialect dialect)
    : open_(std::move(open)), size_(size), dialect_(dialect) {}

Result<SqlPool::Lease> SqlPool::acquire() {
    std::unique_lock lock(mutex_);
    returned_.wait(lock, [this] { return !idle_.empty() || leased_ < size_; });
    ++leased_;
    if (!idle_.empty()) {
        auto db = std::move(idle_.back());
        idle_.pop_back();
        return Lease(*this, std::move(db));
    }
    lock.unlock();
    auto opened = open_();
    if (!opened) {
        lock.lock();
        --leased_;
        returned_.notify_one();
        return opened.failure();
    }
    auto db = std::move(opened).value();
    return Lease(*this, std::move(db));
}

void SqlPool::giveBack(std::unique_ptr<SqlDatabase> db) {
    std::lock_guard lock(mutex_);
    --leased_;
    if (db->usable())
        idle_.push_back(std::move(db));
    returned_.notify_one();
}

} // namespace ravo::server
