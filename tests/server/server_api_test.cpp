#include "base/json_parse.h"
#include "server/api/api.h"
#include "server/config/secrets.h"
#include "server/mail/mail_queue.h"
#include "server/store/sql_store.h"
#include "tests/support/both_databases.h"
#include "tests/support/temporary_folder.h"
#include "wire/sign_in_methods.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace ravo::server {
namespace {

using nlohmann::json;

// The SMTP server is out of this test's scope (the integration script has a real one): this
// one keeps what would have gone out.
struct KeptMail final : Mailer {
    std::vector<MailMessage> sent;
    bool failing = false;
    Status send(const MailMessage& message) override {
        if (failing)
            return Failure{"connection refused"};
        sent.push_back(message);
        return success();
    }
};

// The API over the store, on a SQLite file and on a fresh database of a PostgreSQL the suite
// starts: what a client sees does not depend on the database.
class ServerApiTest : public ::testing::TestWithParam<std::string> {
protected:
    static void TearDownTestSuite() { testing::BothDatabases::stop(); }

    ServerApiTest() : store(testing::BothDatabases::open(GetParam(), folder.path())) {
        config.plan.maxSites = 2;
        config.plan.minIntervalMinutes = 3;
        context.now = [this] { return now; };
        store->setClock([this] { return now; });
    }

    HttpResponse call(const std::string& method, const std::string& path,
                      const std::string& body = "", const std::string& token = "") {
        HttpRequest request{method, "/api/v1/" + path, "", {}, body, client};
        if (!token.empty())
            request.headers["authorization"] = "Bearer " + token;
        return handleApi(context, request);
    }
    static json body(const HttpResponse& response) { return *parseJson(response.body); }
    static json shopSite() {
        return {{"id", "5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e"},
                {"url", "https://shop.example/"},
                {"name", "Shop"},
                {"enabled", true},
                {"interval_minutes", 5}};
    }

    std::string client = "192.0.2.7"; // where the calls come from
    std::string signIn(const std::string& email) {
        const std::string verifier = Secrets::randomToken(40);
        const std::string challenge = Secrets::base64url(sha256Bytes(verifier));
        const auto started = call("POST", "auth/email/start",
                                  json{{"email", email},
                                       {"platform", "mac"},
                                       {"device_name", "Laptop"},
                                       {"lang", "en"},
                                       {"code_challenge", challenge},
                                       {"code_challenge_method", "S256"}}
                                      .dump());
        EXPECT_EQ(started.status, 200) << started.body;
        const std::string code = mailedCode();
        const auto verified = call(
            "POST", "auth/email/verify",
            json{{"id", body(started)["attempt_id"]}, {"code", code}, {"code_verifier", verifier}}
                .dump());
        EXPECT_EQ(verified.status, 200) << verified.body;
        return body(verified)["token"];
    }

    std::string mailedCode() const {
        const std::string& subject = mail.sent.back().subject;
        return subject.substr(subject.size() - 6);
    }

    static std::string sha256Bytes(const std::string& text) {
        std::string bytes;
        const std::string hex = Secrets::sha256Hex(text);
        for (std::size_t i = 0; i < hex.size(); i += 2)
            bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        return bytes;
    }

    testing::TemporaryFolder folder;
    std::unique_ptr<SqlStore> store;
    KeptMail mail;
    ServerConfig config;
    TelegramClient telegram{"http://127.0.0.1:9"};
    ApiContext context{*store, mail, config, telegram};
    TimePoint now = *parseIso8601("2026-05-01T10:00:00Z");
};

TEST_P(ServerApiTest, AMailedCodeWorksOnceWithItsOwnVerifierWithinTenMinutes) {
    const std::string verifier = Secrets::randomToken(40);
    const json start = {{"email", " Ada@Example.org "},
                        {"device_name", "Laptop"},
                        {"code_challenge", Secrets::base64url(sha256Bytes(verifier))},
                        {"code_challenge_method", "S256"}};
    const auto started = call("POST", "auth/email/start", start.dump());
    ASSERT_EQ(started.status, 200);
    ASSERT_EQ(mail.sent.size(), 1u);
    EXPECT_EQ(mail.sent[0].to, "ada@example.org");
    const std::string attempt = body(started)["attempt_id"];
    const auto verify = [&](const std::string& code, const std::string& withVerifier) {
        return call("POST", "auth/email/verify",
                    json{{"id", attempt}, {"code", code}, {"code_verifier", withVerifier}}.dump());
    };
    const std::string code = mailedCode();
    EXPECT_EQ(body(verify(code, Secrets::randomToken(40)))["detail"], "invalid_code_verifier");
    EXPECT_EQ(body(verify(code == "000000" ? "000001" : "000000", verifier))["detail"],
              "invalid_code");
    const auto login = verify(code, verifier);
    ASSERT_EQ(login.status, 200) << login.body;
    EXPECT_EQ(body(login)["device"]["name"], "Laptop");
    EXPECT_EQ(verify(code, verifier).status, 401); // once only

    // A fresh code that waited too long, and one guessed at too often, are dead.
    ASSERT_EQ(call("POST", "auth/email/start", start.dump()).status, 200);
    const std::string late = mailedCode();
    const std::string lateAttempt =
        body(call("POST", "auth/email/start", start.dump()))["attempt_id"];
    now += std::chrono::minutes(11);
    EXPECT_EQ(
        body(call("POST", "auth/email/verify",
                  json{{"id", lateAttempt}, {"code", mailedCode()}, {"code_verifier", verifier}}
                      .dump()))["detail"],
        "code_expired");
    (void)late;
}

// The app offers only the sign-ins a server names; Apple's needs the operator's set-up.
TEST_P(ServerApiTest, TheServerSaysWhichSignInsItOffers) {
    const auto plain = call("GET", "auth/methods");
    ASSERT_EQ(plain.status, 200) << plain.body;
    EXPECT_EQ(wire::signInMethodsFromJson(body(plain)).value(),
              (wire::SignInMethods{.emailCode = true, .password = true, .apple = false}));

    AppleSettings apple;
    apple.clientID = "org.example.ravo";
    AppleSignIn signIn(apple, "https://ravo.example.org");
    context.apple = &signIn;
    const auto withApple = call("GET", "auth/methods");
    ASSERT_EQ(withApple.status, 200) << withApple.body;
    EXPECT_TRUE(wire::signInMethodsFromJson(body(withApple)).value().apple);
    // Asked without a token, and only to read.
    EXPECT_EQ(call("GET", "auth/methods", "", "not-a-token").status, 200);
    EXPECT_EQ(call("POST", "auth/methods").status, 404);
}

TEST(SignInMethods, AMethodTheAnswerDoesNotNameIsNotOffered) {
    EXPECT_EQ(wire::signInMethodsFromJson(json::object()).value(),
              (wire::SignInMethods{.emailCode = false, .password = false, .apple = false}));
    const wire::SignInMethods all{.emailCode = true, .password = true, .apple = true};
    EXPECT_EQ(wire::signInMethodsFromJson(wire::toJson(all)).value(), all);
    // Newer servers may name more; what is named and known still counts.
    EXPECT_TRUE(
        wire::signInMethodsFromJson(json{{"apple", true}, {"passkey", true}}).value().apple);
    for (const json& bad : {json{{"apple", "yes"}}, json::array(), json("apple"), json()})
        EXPECT_FALSE(wire::signInMethodsFromJson(bad)) << bad.dump();
}

TEST_P(ServerApiTest, TokensAreKeptHashedAndARevokedDeviceIsSignedOut) {
    const std::string token = signIn("ada@example.org");
    const std::string second = signIn("ada@example.org");
    EXPECT_FALSE(store->deviceForToken(token)->has_value()); // only the hash is stored
    ASSERT_TRUE(store->deviceForToken(Secrets::sha256Hex(token))->has_value());
    const std::string secondDevice = (*store->deviceForToken(Secrets::sha256Hex(second)))->id;
    EXPECT_EQ(call("DELETE", "devices/" + secondDevice, "", token).status, 200);
    EXPECT_EQ(call("GET", "me", "", second).status, 401);
    EXPECT_EQ(call("GET", "me", "", token).status, 200);
    // Another account's device is "not found", not "forbidden": nothing leaks.
    const std::string grace = signIn("grace@example.org");
    const std::string adaDevice = (*store->deviceForToken(Secrets::sha256Hex(token)))->id;
    EXPECT_EQ(call("DELETE", "devices/" + adaDevice, "", grace).status, 404);
    EXPECT_EQ(call("GET", "me", "", token).status, 200);
}

TEST_P(ServerApiTest, SyncReplacesTheListAtOnceOrNotAtAll) {
    const std::string token = signIn("ada@example.org");
    const json shop = shopSite();
    json blog = shop;
    blog["id"] = "0f9e8d7c-6b5a-4c3d-8e2f-1a0b9c8d7e6f";
    blog["url"] = "http://blog.example/";
    ASSERT_EQ(call("PUT", "sites/sync", json::array({shop, blog}).dump(), token).status, 200);

    json tooFast = shop;
    tooFast["interval_minutes"] = 1;
    json ftp = shop;
    ftp["url"] = "ftp://shop.example/";
    for (const json& refused :
         {json::array({shop, blog, tooFast}), json::array({ftp}), json::array({tooFast}),
          json::array({shop, shop}), json::object()}) {
        const auto answer = call("PUT", "sites/sync", refused.dump(), token);
        EXPECT_EQ(answer.status, 400) << refused.dump();
        EXPECT_TRUE(body(answer).contains("detail"));
    }
    EXPECT_EQ(call("PUT", "sites/sync", "[{\"id\":", token).status, 400);
    const auto statuses = body(call("GET", "sites/status", "", token));
    ASSERT_EQ(statuses.size(), 2u);
    EXPECT_EQ(statuses[0]["health"], "unknown");

    ASSERT_EQ(call("PUT", "sites/sync", json::array({blog}).dump(), token).status, 200);
    EXPECT_EQ(body(call("GET", "sites/status", "", token)).size(), 1u);
    // The same site id in another account is that account's own site.
    const std::string grace = signIn("grace@example.org");
    EXPECT_EQ(call("GET", "sites/status", "", grace).body, "[]");
    ASSERT_EQ(call("PUT", "sites/sync", json::array({blog}).dump(), grace).status, 200);
    EXPECT_EQ(body(call("GET", "sites/status", "", token)).size(), 1u);
}

TEST_P(ServerApiTest, DeletingTheAccountTakesItsSitesAndDevices) {
    const std::string token = signIn("ada@example.org");
    const json shop = shopSite();
    ASSERT_EQ(call("PUT", "sites/sync", json::array({shop}).dump(), token).status, 200);
    const std::string account = (*store->deviceForToken(Secrets::sha256Hex(token)))->accountID;
    EXPECT_EQ(call("DELETE", "me", "", token).status, 200);
    EXPECT_EQ(call("GET", "me", "", token).status, 401);
    EXPECT_TRUE(store->sites(account)->empty());
}

TEST_P(ServerApiTest, SignInMailIsLimitedPerAddressAndPerClient) {
    const auto start = [](const std::string& email) {
        return json{{"email", email},
                    {"code_challenge", std::string(43, 'a')},
                    {"code_challenge_method", "S256"}}
            .dump();
    };
    // From a client each: the address gets ten mails an hour.
    int limited = 0;
    for (int i = 0; i < 12; ++i) {
        client = "198.51.100." + std::to_string(i + 1);
        limited += call("POST", "auth/email/start", start("ada@example.org")).status == 429;
    }
    EXPECT_EQ(limited, 2);
    EXPECT_EQ(mail.sent.size(), 10u);
    // One client mailing many addresses gets five an hour, counted by its IPv6 network.
    for (int i = 0; i < 6; ++i) {
        client = "2001:db8:7:7::" + std::to_string(i + 1);
        EXPECT_EQ(call("POST", "auth/email/start", start("u" + std::to_string(i) + "@example.org"))
                      .status,
                  i < 5 ? 200 : 429)
            << i;
    }
    // After the hour the address may ask again.
    now += std::chrono::hours(1);
    EXPECT_EQ(call("POST", "auth/email/start", start("ada@example.org")).status, 200);
}

TEST_P(ServerApiTest, WhatCannotBeAnAddressIsNeverCounted) {
    // A megabyte of "address" would otherwise become a counter row.
    const std::string huge = std::string(300'000, 'a') + "@example.org";
    for (int i = 0; i < 12; ++i) {
        client = "198.51.100." + std::to_string(i + 1);
        const auto answer =
            call("POST", "auth/token", json{{"email", huge}, {"password", "x"}}.dump());
        EXPECT_EQ(answer.status, 401);
        EXPECT_GT(answer.delay.count(), 0);
    }
}

TEST_P(ServerApiTest, FailuresAreClearAndSayNothingOfOtherAccounts) {
    EXPECT_EQ(body(call("GET", "me"))["detail"], "not_authenticated");
    EXPECT_EQ(call("GET", "me", "", "made-up").status, 401);
    EXPECT_EQ(call("GET", "nothing-here").status, 404);
    EXPECT_EQ(call("POST", "auth/apple/start", "{}").status, 400);
    EXPECT_EQ(body(call("POST", "auth/apple/start", "{}"))["detail"], "apple_not_configured");
    EXPECT_EQ(body(call("POST", "auth/token",
                        json{{"email", "nobody@example.org"}, {"password", "x"}}.dump()))["detail"],
              "invalid_credentials");
    // Found by fuzzing: broken UTF-8 quoted back in the detail made the answer itself throw.
    const auto broken = call("POST", "auth/email/verify", "{\"id\": \"5b0e\xb9\"}");
    EXPECT_EQ(broken.status, 400);
    EXPECT_TRUE(parseJson(broken.body).ok()) << broken.body;
    mail.failing = true;
    const auto unsent = call("POST", "auth/email/start",
                             json{{"email", "ada@example.org"},
                                  {"code_challenge", std::string(43, 'a')},
                                  {"code_challenge_method", "S256"}}
                                 .dump());
    EXPECT_EQ(unsent.status, 503);
    EXPECT_EQ(body(unsent)["detail"], "mail_unavailable");
}

TEST_P(ServerApiTest, OperatorPasswordsSignIn) {
    ASSERT_TRUE(store->setPassword("ops@example.org", Secrets::hashPassword("correct horse")).ok());
    const auto login = call(
        "POST", "auth/token",
        json{{"email", "Ops@Example.org"}, {"password", "correct horse"}, {"device_name", "CI"}}
            .dump());
    ASSERT_EQ(login.status, 200) << login.body;
    EXPECT_EQ(body(call("GET", "me", "", body(login)["token"]))["email"], "ops@example.org");
    EXPECT_FALSE(Secrets::passwordMatches("correct horse", "pbkdf2-sha256$1$x$y"));
    EXPECT_FALSE(Secrets::passwordMatches(
        "wrong", *store->accountForEmail("ops@example.org", false)->passwordHash));
}

TEST_P(ServerApiTest, TelegramSettingsAreCheckedAndTheTokenNeverComesBack) {
    const std::string token = signIn("ada@example.org");
    const auto put = [&](const json& change) {
        return call("PUT", "notifications/settings", change.dump(), token);
    };
    const std::string bot = "12345:" + std::string(30, 'A');
    const auto saved = put({{"telegram_bot_token", bot}, {"telegram_chat_id", "-1234567890123"}});
    ASSERT_EQ(saved.status, 200) << saved.body;
    EXPECT_EQ(saved.body.find(bot), std::string::npos);
    EXPECT_EQ(body(saved),
              (json{{"telegram_chat_id", "-1234567890123"}, {"has_custom_bot_token", true}}));

    for (const std::string& refused :
         {"1234:" + std::string(30, 'A'), "12345:" + std::string(29, 'A'),
          "12345:" + std::string(30, 'A') + "!", bot + ":x"}) {
        const auto answer = put({{"telegram_bot_token", refused}});
        EXPECT_EQ(answer.status, 400) << refused;
        EXPECT_EQ(body(answer)["detail"], "The bot token isn't valid.");
    }
    for (const std::string refused : {"@abcd", "12a", "--5", "123456789012345678901"})
        EXPECT_EQ(put({{"telegram_chat_id", refused}}).status, 400) << refused;
    EXPECT_EQ(put({{"telegram_chat_id", "@ravo_alerts"}}).status, 200);
    EXPECT_EQ(put({{"telegram_chat_id", 42}}).status, 400);
    // A key left out keeps its setting; nothing was changed by the refusals.
    const auto now = body(call("GET", "notifications/settings", "", token));
    EXPECT_EQ(now, (json{{"telegram_chat_id", "@ravo_alerts"}, {"has_custom_bot_token", true}}));
    EXPECT_EQ(call("GET", "notifications/settings", "", signIn("grace@example.org")).body,
              R"({"has_custom_bot_token":false})");
    // Telegram is out of reach at the configured address: a 4xx that says so.
    const auto test = call("POST", "notifications/telegram/test", "", token);
    EXPECT_EQ(test.status, 424);
    EXPECT_EQ(body(test)["detail"], "Telegram can't be reached.");
}

TEST_P(ServerApiTest, ReleasesAreServedAsPublishedAndOnlyFromTheirFolder) {
    const auto latest = [&](const std::string& query) {
        HttpRequest request{"GET", "/api/v1/releases/latest", query, {}, "", "192.0.2.7"};
        return handleApi(context, request);
    };
    EXPECT_EQ(latest("platform=macos&channel=stable").status, 404);
    config.releaseDir = folder.path().string();
    const std::string envelope = R"({"payload":"eyJ2ZXJzaW9uIjoiMSJ9","signature":"c2ln"})";
    std::FILE* file = std::fopen((folder / "macos-stable.json").c_str(), "w");
    std::fputs(envelope.c_str(), file);
    std::fclose(file);
    const auto served = latest("channel=stable&platform=macos");
    EXPECT_EQ(served.status, 200);
    EXPECT_EQ(served.body, envelope);
    EXPECT_EQ(latest("platform=macos&channel=beta").status, 404);
    EXPECT_EQ(latest("platform=..%2Fmacos&channel=stable").status, 400);
    EXPECT_EQ(latest("platform=../macos&channel=stable").status, 400);
}

TEST_P(ServerApiTest, ReadinessFollowsTheCheckerAndMetricsStayWithTheirNetworks) {
    ServerTelemetry telemetry;
    context.telemetry = &telemetry;
    const auto get = [this](const std::string& path, const std::string& from) {
        return handleApi(context, HttpRequest{"GET", path, "", {}, "", from});
    };
    EXPECT_EQ(get("/readyz", client).status, 200);
    telemetry.checkerRunning = true;
    telemetry.checkerBehindSeconds = 30;
    EXPECT_EQ(get("/readyz", client).status, 200);
    telemetry.checkerBehindSeconds = 95;
    const auto late = get("/readyz", client);
    EXPECT_EQ(late.status, 503);
    EXPECT_EQ(late.body, "checks start 95 s late\n");
    // Another process may do the checking; this one answering is ready.
    telemetry.checkerRunning = false;
    EXPECT_EQ(get("/readyz", client).status, 200);

    EXPECT_EQ(get("/metrics", client).status, 403);
    EXPECT_EQ(get("/metrics", "127.0.0.1").status, 200);
    EXPECT_EQ(get("/metrics", "::1").status, 200);
    EXPECT_EQ(get("/metrics", "not an address").status, 403);
    config.metricsAllowNetworks = *parseIpNetworks("192.0.2.0/24");
    EXPECT_EQ(get("/metrics", "127.0.0.1").status, 403);
    const auto metrics = get("/metrics", client);
    EXPECT_EQ(metrics.status, 200);
    EXPECT_NE(metrics.body.find("ravo_server_http_requests_total{method=\"GET\",route=\"/readyz\","
                                "status=\"503\"} 1\n"),
              std::string::npos)
        << metrics.body;
    EXPECT_NE(metrics.body.find("ravo_server_http_requests_total{method=\"GET\",route=\"/metrics\","
                                "status=\"403\"} 3\n"),
              std::string::npos)
        << metrics.body;
}

TEST_P(ServerApiTest, FieldsTheServerDoesNotKnowAreRefusedNotDropped) {
    const std::string token = signIn("ada@example.org");
    json site = shopSite();
    site["colour"] = "red";
    const auto sync = call("PUT", "sites/sync", json::array({site}).dump(), token);
    EXPECT_EQ(sync.status, 400);
    EXPECT_EQ(body(sync)["detail"], "unknown field \"colour\"");
    EXPECT_TRUE(body(call("GET", "sites/status", "", token)).empty());
    site.erase("colour");
    site["keyword"] = nullptr; // null is the same as absent
    EXPECT_EQ(call("PUT", "sites/sync", json::array({site}).dump(), token).status, 200);
    const auto login = call("POST", "auth/token",
                            json{{"email", "a@b.c"}, {"password", "x"}, {"remember", true}}.dump());
    EXPECT_EQ(login.status, 400);
    EXPECT_EQ(body(login)["detail"], "unknown field \"remember\"");
    EXPECT_EQ(
        body(call("PUT", "notifications/settings", R"({"telegram_chat":"1"})", token))["detail"],
        "unknown field \"telegram_chat\"");
}

// Two devices of one account edit the list: a write names the version it was built on
// and is refused once the list moved; a client that names none writes as before.
TEST_P(ServerApiTest, AListBuiltOnAnOlderOneIsRefused) {
    const std::string laptop = signIn("ada@example.org");
    const std::string desktop = signIn("ada@example.org");
    const auto put = [this](const json& list, const std::string& token,
                            std::optional<std::string> ifMatch) {
        HttpRequest request{"PUT", "/api/v1/sites/sync", "", {}, list.dump(), client};
        request.headers["authorization"] = "Bearer " + token;
        if (ifMatch)
            request.headers["if-match"] = *ifMatch;
        return handleApi(context, request);
    };
    const auto read = call("GET", "sites/sync", "", laptop);
    ASSERT_EQ(read.status, 200);
    const std::string first = read.headers.at("ETag");
    EXPECT_EQ(first.front(), '"');
    EXPECT_EQ(call("GET", "sites/sync", "", desktop).headers.at("ETag"), first);

    const json shop = shopSite();
    json blog = shop;
    blog["id"] = "0f9e8d7c-6b5a-4c3d-8e2f-1a0b9c8d7e6f";
    blog["url"] = "http://blog.example/";
    const auto added = put(json::array({shop}), desktop, first);
    ASSERT_EQ(added.status, 200) << added.body;
    const std::string second = added.headers.at("ETag");
    EXPECT_NE(second, first);
    EXPECT_EQ(call("GET", "sites/sync", "", laptop).headers.at("ETag"), second);

    // The laptop still holds the empty list: its write would drop the shop.
    const auto stale = put(json::array({blog}), laptop, first);
    EXPECT_EQ(stale.status, 412);
    EXPECT_TRUE(body(stale).contains("detail"));
    EXPECT_EQ(body(call("GET", "sites/sync", "", laptop)), json::array({shop}));
    for (const std::string& hostile :
         {std::string("W/") + second, std::string("\"sites-\""), std::string("\"sites-1x\""),
          std::string("\"sites-99999999999999999999\""), std::string(5000, ','),
          "\"" + second + "\"", std::string("sites-1"), std::string("")})
        EXPECT_EQ(put(json::array({blog}), laptop, hostile).status, 412) << hostile;
    EXPECT_EQ(call("GET", "sites/sync", "", laptop).headers.at("ETag"), second)
        << "a refused write moves nothing";

    // Read again, apply the change again: kept. A list of tags matches any of them.
    const auto both = put(json::array({shop, blog}), laptop, first + ", " + second);
    ASSERT_EQ(both.status, 200) << both.body;
    EXPECT_EQ(body(both).size(), 2u);
    EXPECT_EQ(put(json::array({shop}), laptop, "*").status, 200);
    EXPECT_EQ(put(json::array({shop, blog}), desktop, std::nullopt).status, 200);
    const std::string latest = call("GET", "sites/sync", "", laptop).headers.at("ETag");
    EXPECT_EQ(put(json::array({shop}), desktop, latest).status, 200);
    // A refusal of the list itself still says what is wrong with it, not 412.
    EXPECT_EQ(put(json::array({shop, blog, shopSite()}), desktop, first).status, 400);

    // Writers racing from one version, on connections of their own: exactly one wins.
    const std::string from = call("GET", "sites/sync", "", laptop).headers.at("ETag");
    std::vector<int> answers(6, 0);
    std::vector<std::thread> writers;
    for (std::size_t n = 0; n < answers.size(); ++n)
        writers.emplace_back([&, n] {
            json site = blog;
            site["name"] = "Writer " + std::to_string(n);
            answers[n] = put(json::array({site}), n % 2 ? laptop : desktop, from).status;
        });
    for (auto& writer : writers)
        writer.join();
    EXPECT_EQ(std::count(answers.begin(), answers.end(), 200), 1);
    EXPECT_EQ(std::count(answers.begin(), answers.end(), 412), 5);
}

// Without public-url the speed test's files are where the client reached the server; a
// proxy's word for that counts only when the proxy is trusted, and a host that is not a
// host is never echoed.
TEST_P(ServerApiTest, SpeedTestLinksFollowTheAddressTheClientUsed) {
    const auto links = [this](std::map<std::string, std::string> headers, bool trusted) {
        HttpRequest request{"GET", "/api/v1/speedtest/config", "", std::move(headers), "", client};
        request.viaTrustedProxy = trusted;
        return handleApi(context, request);
    };
    const auto upload = [&](std::map<std::string, std::string> headers, bool trusted) {
        const auto answer = links(std::move(headers), trusted);
        return answer.status == 200 ? body(answer)["urls"]["https_upload_url"].get<std::string>()
                                    : "HTTP " + std::to_string(answer.status);
    };
    EXPECT_EQ(upload({{"host", "192.0.2.10:8470"}}, false),
              "http://192.0.2.10:8470/api/v1/speedtest/upload");
    EXPECT_EQ(upload({{"host", "Ravo.Example.org"}}, false),
              "http://ravo.example.org/api/v1/speedtest/upload");
    EXPECT_EQ(upload({{"host", "[2001:db8::7]:8470"}}, false),
              "http://[2001:db8::7]:8470/api/v1/speedtest/upload");
    const std::map<std::string, std::string> proxied = {{"host", "10.0.0.5:8470"},
                                                        {"x-forwarded-proto", "https"},
                                                        {"x-forwarded-host", "ravo.example.org"}};
    EXPECT_EQ(upload(proxied, true), "https://ravo.example.org/api/v1/speedtest/upload");
    EXPECT_EQ(upload(proxied, false), "http://10.0.0.5:8470/api/v1/speedtest/upload")
        << "anyone can send these headers";
    EXPECT_EQ(upload({{"host", "10.0.0.5"},
                      {"forwarded", "for=192.0.2.1;proto=http;host=evil.example, "
                                    "for=198.51.100.4;proto=https;host=\"ravo.example.org:8443\""}},
                     true),
              "https://ravo.example.org:8443/api/v1/speedtest/upload");
    EXPECT_EQ(upload({{"host", "ravo.example.org"}, {"x-forwarded-proto", "gopher"}}, true),
              "http://ravo.example.org/api/v1/speedtest/upload");
    for (const std::string& hostile :
         {std::string("evil.example\r\nSet-Cookie: a=b"), std::string("evil.example/path"),
          std::string("user@evil.example"), std::string("evil.example:99999"),
          std::string("evil.example:80:80"), std::string("evil example"), std::string(""),
          std::string(300, 'a'), std::string("[::1"), std::string("[nothex]:80"),
          std::string("a..b"), std::string("\"quoted\"")}) {
        EXPECT_EQ(upload({{"host", hostile}}, false), "HTTP 400") << hostile;
        EXPECT_EQ(upload({{"host", "ok.example"}, {"x-forwarded-host", hostile}}, true),
                  hostile.empty() ? "http://ok.example/api/v1/speedtest/upload" : "HTTP 400")
            << hostile;
    }
    EXPECT_EQ(upload({}, false), "HTTP 400");
    // The operator's address wins over anything a request says.
    config.publicURL = "https://speed.example.org/";
    EXPECT_EQ(upload({{"host", "elsewhere.example"}}, false),
              "https://speed.example.org/api/v1/speedtest/upload");
}

INSTANTIATE_TEST_SUITE_P(OnBothDatabases, ServerApiTest, ::testing::Values("sqlite", "postgresql"),
                         testing::BothDatabases::name);

TEST(MailQueue, AFailedSendIsTriedAgainAndTheRequestNeverWaits) {
    struct Flaky final : Mailer {
        std::mutex mutex;
        int failuresLeft = 2;
        std::vector<std::string> delivered;
        Status send(const MailMessage& message) override {
            std::lock_guard lock(mutex);
            if (failuresLeft-- > 0)
                return Failure{"421 try again later"};
            delivered.push_back(message.to);
            return success();
        }
    } flaky;
    {
        MailQueue queue(flaky, {std::chrono::milliseconds(10), std::chrono::milliseconds(10)});
        EXPECT_TRUE(queue.send({"ada@example.org", "code", "123456"}));
        for (int i = 0; i < 200; ++i) {
            {
                std::lock_guard lock(flaky.mutex);
                if (!flaky.delivered.empty())
                    break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    EXPECT_EQ(flaky.delivered, std::vector<std::string>{"ada@example.org"});

    flaky.failuresLeft = 100;
    flaky.delivered.clear();
    {
        MailQueue queue(flaky, {std::chrono::milliseconds(1)});
        EXPECT_TRUE(queue.send({"grace@example.org", "code", "654321"}));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_TRUE(flaky.delivered.empty());
    EXPECT_EQ(flaky.failuresLeft, 98); // one try and one retry, then given up
}

} // namespace
} // namespace ravo::server
