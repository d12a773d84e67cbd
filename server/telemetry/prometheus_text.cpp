#include "server/telemetry/server_telemetry.h"

#include <array>
#include <cstdio>

namespace ravo::server {

namespace {

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string escaped(const std::string& value) {
    std::string out;
    for (const char c : value) {
        if (c == '\\' || c == '"')
            out += '\\';
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out;
}

class Writer {
public:
    void family(const char* name, const char* type, const char* help) {
        text_ +=
            std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
    }
    void sample(const std::string& name,
                const std::vector<std::pair<std::string, std::string>>& labels,
                const std::string& value) {
        text_ += name;
        if (!labels.empty()) {
            text_ += '{';
            for (std::size_t i = 0; i < labels.size(); ++i)
                text_ +=
                    (i ? "," : "") + labels[i].first + "=\"" + escaped(labels[i].second) + "\"";
            text_ += '}';
        }
        text_ += " " + value + "\n";
    }
    void gauge(const char* name, const char* help, double value) {
        family(name, "gauge", help);
        sample(name, {}, number(value));
    }
    void counter(const char* name, const char* help, const LabelledCounter& counter,
                 const std::vector<std::string>& labelNames) {
        family(name, "counter", help);
        for (const auto& [values, count] : counter.snapshot()) {
            std::vector<std::pair<std::string, std::string>> labels;
            for (std::size_t i = 0; i < labelNames.size() && i < values.size(); ++i)
                labels.emplace_back(labelNames[i], values[i]);
            sample(name, labels, std::to_string(count));
        }
    }
    void histogram(const char* name, const char* help, const Histogram& histogram) {
        family(name, "histogram", help);
        const auto snapshot = histogram.snapshot();
        for (std::size_t i = 0; i < snapshot.bounds.size(); ++i)
            sample(std::string(name) + "_bucket", {{"le", number(snapshot.bounds[i])}},
                   std::to_string(snapshot.cumulative[i]));
        sample(std::string(name) + "_bucket", {{"le", "+Inf"}}, std::to_string(snapshot.count));
        sample(std::string(name) + "_sum", {}, number(snapshot.sum));
        sample(std::string(name) + "_count", {}, std::to_string(snapshot.count));
    }
    std::string text() && { return std::move(text_); }

private:
    std::string text_;
};

} // namespace

std::string prometheusText(const ServerTelemetry& telemetry,
                           const std::optional<StoredTotals>& totals,
                           std::uint64_t databaseErrors) {
    Writer out;
    out.counter("ravo_server_checks_total", "Website checks finished, by result.", telemetry.checks,
                {"result"});
    out.histogram("ravo_server_check_duration_seconds",
                  "How long checks took, from start to answer or failure.", telemetry.checkSeconds);
    out.histogram("ravo_server_check_start_lateness_seconds",
                  "How long after its slot each check started.", telemetry.checkLatenessSeconds);
    out.gauge("ravo_server_checks_in_flight", "Checks started and not yet finished.",
              static_cast<double>(telemetry.checksInFlight.load()));
    out.gauge("ravo_server_checker_behind_seconds",
              "How far past its slot the check that has waited longest for a thread is.",
              telemetry.checkerBehindSeconds.load());
    out.gauge("ravo_server_checks_queued", "Due checks waiting for a thread.",
              static_cast<double>(telemetry.checksQueued.load()));
    out.family("ravo_server_checks_skipped_total", "counter",
               "Slots skipped because the checker could not keep up.");
    out.sample("ravo_server_checks_skipped_total", {},
               std::to_string(telemetry.checksSkipped.load()));
    out.gauge("ravo_server_checker_threads", "Threads that run checks.",
              static_cast<double>(telemetry.checkerThreads.load()));
    out.gauge("ravo_server_checker_capacity_per_minute",
              "Checks a minute this process managed the last time it fell behind; 0 if never.",
              telemetry.checkerCapacityPerMinute.load());
    if (totals) {
        out.gauge("ravo_server_accounts", "Accounts.", static_cast<double>(totals->accounts));
        out.family("ravo_server_sites", "gauge", "Monitored sites, by whether they are checked.");
        out.sample("ravo_server_sites", {{"enabled", "true"}},
                   std::to_string(totals->enabledSites));
        out.sample("ravo_server_sites", {{"enabled", "false"}},
                   std::to_string(totals->sites - totals->enabledSites));
        out.gauge("ravo_server_alert_queue", "Alerts waiting to be delivered to Telegram.",
                  static_cast<double>(totals->queuedAlerts));
    }
    out.counter("ravo_server_alert_deliveries_total", "Telegram deliveries, by outcome.",
                telemetry.alertDeliveries, {"outcome"});
    out.gauge("ravo_server_mail_queue", "Sign-in mails waiting to be sent.",
              static_cast<double>(telemetry.mailQueued.load()));
    out.counter("ravo_server_mails_total", "Mail sending attempts, by outcome.", telemetry.mails,
                {"outcome"});
    out.counter("ravo_server_http_requests_total", "HTTP requests answered, by route and status.",
                telemetry.requests, {"method", "route", "status"});
    out.family("ravo_server_database_errors_total", "counter",
               "Database statements that failed, connections lost among them.");
    out.sample("ravo_server_database_errors_total", {}, std::to_string(databaseErrors));
    out.gauge("ravo_server_database_up", "Whether the database answered this scrape.",
              totals ? 1 : 0);
    return std::move(out).text();
}

std::string routeLabel(const std::string& path) {
    static constexpr std::array kFixed = {
        "/metrics",
        "/healthz",
        "/readyz",
        "/api/v1/auth/email/start",
        "/api/v1/auth/email/verify",
        "/api/v1/auth/token",
        "/api/v1/auth/methods",
        "/api/v1/auth/apple/start",
        "/api/v1/auth/apple/callback",
        "/api/v1/auth/apple/finish",
        "/api/v1/releases/latest",
        "/api/v1/releases/notes",
        "/api/v1/speedtest/config",
        "/api/v1/speedtest/small",
        "/api/v1/speedtest/large",
        "/api/v1/speedtest/upload",
        "/api/v1/me",
        "/api/v1/sites/sync",
        "/api/v1/sites/status",
        "/api/v1/notifications/settings",
        "/api/v1/notifications/telegram/test",
    };
    for (const char* fixed : kFixed)
        if (path == fixed)
            return path;
    if (path.starts_with("/api/v1/devices/"))
        return "/api/v1/devices/{id}";
    if (path.starts_with("/api/v1/sites/") && path.ends_with("/history"))
        return "/api/v1/sites/{id}/history";
    return "other";
}

} // namespace ravo::server

namespace ravo::server {

std::string methodLabel(const std::string& method) {
    for (const char* known : {"GET", "HEAD", "POST", "PUT", "DELETE", "OPTIONS"})
        if (method == known)
            return method;
    return "other";
}

} // namespace ravo::server
