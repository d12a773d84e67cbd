#include "app/commands.h"
#include "app/live_status.h"
#include "app/platform/single_instance.h"
#include "base/json_error.h"
#include "common/settings_values.h"
#include "connectivity/core/speed_test_history.h"
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
        std::cout << json::errorText(message) << std::endl;
    else
        std::cerr << message << "\n";
    return status;
}

// A running Ravo also knows whether a test runs now; without one the settings tell the rest.
int printHistory(const SpeedTestRequest& request) {
    using namespace connectivity;
    std::optional<SpeedTestHistory::Listing> listing;
    if (const auto answer = SingleInstance().ask(kSpeedTestsQuestion))
        if (auto read = SpeedTestHistory::fromDocument(*answer))
            listing = std::move(read).value();
    if (!listing) {
        auto settings = common::openUserSettings();
        auto records = SpeedTest(*settings).readHistory();
        if (!records)
            return failed(request, records.error(), 1);
        listing = SpeedTestHistory::Listing{std::move(records).value(), false};
    }
    if (request.json)
        std::cout << json::printable(
                         SpeedTestHistory::toDocument(listing->records, listing->measuring))
                  << std::endl;
    else
        std::cout << SpeedTestHistory::text(*listing, FormatLocale::fromEnvironment());
    return 0;
}

} // namespace

int runSpeedTestCommand(const SpeedTestRequest& request) {
    using connectivity::SpeedTest;
    if (request.history)
        return printHistory(request);
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
