#pragma once

#include "usage/core/usage_model.h"

#include <QObject>
#include <QProcess>
#include <QTimer>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace ravo::usage {

// A failed exchange with `codex app-server`, in the user's words.
struct ProbeError {
    std::string message;
    bool timedOut = false;
    bool operator==(const ProbeError&) const = default;
};

// One short JSON-RPC exchange per request: start `codex app-server`, initialise, ask,
// read until the answer, and end the child whatever happened.
class CodexAppServer {
public:
    explicit CodexAppServer(std::filesystem::path home);

    std::optional<std::filesystem::path> locateExecutable() const;
    bool isAvailable() const { return locateExecutable().has_value(); }

    // The raw response line to `method`, or why there is none.
    QCoro::Task<std::variant<std::string, ProbeError>>
    request(std::string method, std::string paramsJSON, std::chrono::milliseconds timeout) const;

    static constexpr int kRequestID = 2;

private:
    std::filesystem::path home_;
};

} // namespace ravo::usage
