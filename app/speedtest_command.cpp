#include "app/commands.h"
#include "common/settings_values.h"
#include "connectivity/core/speed_test_parser.h"
#include "connectivity/core/speed_test_text.h"
#include "connectivity/speed_test.h"

#include <nlohmann/json.hpp>
#include <qcoro/qcorotask.h>

#include <iostream>
#include <unistd.h>

namespace ravo::app {

namespace {

// A failure is an answer too: scripts reading --json always get a document.
int failed(const SpeedTestRequest& request, const std::string& message, int status) {
    if (request.json)
        std::cout << nlohmann::json{{"error", {{"message", message}}}}.dump(2) << std::endl;
    else
        std::cerr << message << "\n";
    return status;
}

} // namespace

int runSpeedTestCommand(const SpeedTestRequest& request) {
    using connectivity::SpeedTest;
    auto settings = common::openUserSettings();
    SpeedTest speedTest(*settings);
    std::optional<QString> server;
    if (request.server) {
        const auto url = SpeedTest::configURL(QString::fromStdString(*request.server));
        if (!url)
            return failed(request, url.error(), 2);
        server = *url;
    }
    if (!request.json && ::isatty(STDOUT_FILENO))
        std::cout << SpeedTest::kMeasuringText << std::endl;
    const auto result = QCoro::waitFor(speedTest.run(server));
    if (!result)
        return failed(
            request,
            std::string(SpeedTest::kFailedText) + " " + speedTest.failureReason().toStdString(), 1);
    if (request.json) {
        std::cout << connectivity::SpeedTestParser::toJson(*result).dump(2) << std::endl;
        return 0;
    }
    std::cout << connectivity::speedTestText(*result, FormatLocale::fromEnvironment());
    return 0;
}

} // namespace ravo::app
