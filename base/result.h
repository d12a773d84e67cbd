#pragma once

#include <string>
#include <utility>
#include <variant>

namespace ravo {

// A failure carried as a value: the text is what the user reads.
struct Failure {
    std::string message;
    bool operator==(const Failure&) const = default;
};

template <typename T> class Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Failure failure) : state_(std::move(failure)) {}

    bool ok() const { return std::holds_alternative<T>(state_); }
    explicit operator bool() const { return ok(); }
    const T& value() const& { return std::get<T>(state_); }
    T& value() & { return std::get<T>(state_); }
    T&& value() && { return std::get<T>(std::move(state_)); }
    const T& operator*() const& { return value(); }
    const T* operator->() const { return &value(); }
    const Failure& failure() const { return std::get<Failure>(state_); }
    const std::string& error() const { return failure().message; }

private:
    std::variant<T, Failure> state_;
};

struct Done {
    bool operator==(const Done&) const = default;
};
using Status = Result<Done>;
inline Status success() {
    return Done{};
}

} // namespace ravo
