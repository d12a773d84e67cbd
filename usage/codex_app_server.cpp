#include "usage/codex_app_server.h"

#include "base/agent_detection.h"
#include "usage/codex_exchange.h"

#include <nlohmann/json.hpp>
#include <qcoro/qcorosignal.h>

namespace ravo::usage {

CodexAppServer::CodexAppServer(std::filesystem::path home) : home_(std::move(home)) {}

std::optional<std::filesystem::path> CodexAppServer::locateExecutable() const {
    return AgentDetection::codexExecutable(home_);
}

QCoro::Task<std::variant<std::string, ProbeError>>
CodexAppServer::request(std::string method, std::string paramsJSON,
                        std::chrono::milliseconds timeout) const {
    const auto executable = locateExecutable();
    if (!executable)
        co_return ProbeError{"codex CLI not found", false};
    const nlohmann::json methodName = method;
    QByteArray lines =
        "{\"id\":1,\"method\":\"initialize\",\"params\":{\"clientInfo\":{\"name\":\"ravo\","
        "\"version\":\"1.0.0\"}}}\n"
        "{\"method\":\"initialized\",\"params\":{}}\n";
    lines += QByteArray::fromStdString("{\"id\":" + std::to_string(kRequestID) + ",\"method\":" +
                                       methodName.dump() + ",\"params\":" + paramsJSON + "}\n");
    CodexExchange exchange(QString::fromStdString(executable->string()),
                           QString::fromStdString(AgentDetection::searchPath(home_)), lines,
                           kRequestID, timeout);
    exchange.start();
    const auto [answer, error, timedOut] = co_await qCoro(&exchange, &CodexExchange::finished);
    if (!error.isEmpty())
        co_return ProbeError{error.toStdString(), timedOut};
    co_return answer.toStdString();
}

} // namespace ravo::usage
