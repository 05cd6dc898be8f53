#include "SimulatorTest.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* jsonType = "Content-Type: application/json";
constexpr const char* bearer = "Authorization: Bearer known";

/// The endpoints' good and bad answers.
class Service : public SimulatorTest {
protected:
    Service() { service.acceptToken("known"); }

    Outcome login(const std::string& query) {
        return call("GET", "/api/desktop/v2/login?" + query);
    }

    Outcome target(std::vector<std::string> headers, const std::string& body) {
        return call("POST", "/api/my_prints/v1/upload_target?", std::move(headers), body);
    }
};

} // namespace

TEST_F(Service, ListsItselfUnderTheNameTheClientUsed) {
    const Outcome outcome = call("GET", "/api/mobile/v2/registration_servers?");
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.body,
              R"({"data":{"servers":{"Ardentra Demo":")" + service.server() + "\"}}}");
}

TEST_F(Service, ListsTheServersThatWereSetInTheirOrder) {
    service.setServers({{"Zulu", "z.invalid"}, {"Älpha", "a.invalid:1"}});
    EXPECT_EQ(call("GET", "/api/mobile/v2/registration_servers?").body,
              R"({"data":{"servers":{"Zulu":"z.invalid","Älpha":"a.invalid:1"}}})");
    service.setServers({});
    EXPECT_EQ(call("GET", "/api/mobile/v2/registration_servers?").body,
              R"({"data":{"servers":{}}})");
}

TEST_F(Service, WantsTheVersionHeaderForTheInterface) {
    expectRefusal(client.get(url("/api/mobile/v2/registration_servers?")), 400);
    expectRefusal(client.perform({.url = url("/api/session/user_info?"),
                                  .headers = {"x-veltora-client-version;", bearer}}),
                  400);
}

TEST_F(Service, KnowsNoOtherPath) {
    expectRefusal(call("GET", "/api/desktop/v2/logout"), 404);
    expectRefusal(call("GET", "/"), 404);
    expectRefusal(call("GET", "/sign-in/"), 404);
}

TEST_F(Service, NamesTheMethodsThatAPathTakes) {
    const Outcome outcome = call("GET", "/api/desktop/v2/token?code=a&code2=b");
    expectRefusal(outcome, 405);
    EXPECT_EQ(outcome.header("Allow"), "POST");
    EXPECT_EQ(call("PUT", "/sign-in").header("Allow"), "GET, POST");
}

TEST_F(Service, BeginsALoginForEachProviderAndScheme) {
    for (const char* query : {"provider=google&redirect=false&scheme=zantiq",
                              "scheme=veltora&redirect=false&provider=google",
                              "provider=microsoft&redirect=false&scheme=printdriverregistration"}) {
        SCOPED_TRACE(query);
        const Outcome outcome = login(query);
        EXPECT_EQ(outcome.status, 200);
        EXPECT_THAT(dataOf(outcome).at("code").get<std::string>(), MatchesRegex("[0-9a-f]{32}"));
        EXPECT_THAT(dataOf(outcome).at("login_url").get<std::string>(),
                    StartsWith(url("/sign-in?session=")));
    }
}

TEST_F(Service, BeginsNoLoginWithABadParameter) {
    for (const std::string query :
         {"", "redirect=false&scheme=zantiq", "provider=Google&redirect=false&scheme=zantiq",
          "provider=google&scheme=zantiq", "provider=google&redirect=true&scheme=zantiq",
          "provider=google&redirect=false", "provider=google&redirect=false&scheme=https",
          "provider=google&provider=google&redirect=false&scheme=zantiq"}) {
        SCOPED_TRACE(query);
        expectRefusal(login(query), 400);
    }
}

TEST_F(Service, ShowsASignInPageForTheProvider) {
    const auto data = dataOf(login("provider=microsoft&redirect=false&scheme=zantiq"));
    const Outcome outcome = client.get(data.at("login_url"));
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.header("Content-Type"), "text/html; charset=utf-8");
    EXPECT_THAT(outcome.body, HasSubstr("<h1>Sign in to Ardentra Demo with Microsoft</h1>"));
    EXPECT_THAT(outcome.body, HasSubstr("<label for=\"email\">"));
    EXPECT_THAT(outcome.body, HasSubstr("value=\"ada@example.com\""));
}

TEST_F(Service, ShowsNoSignInPageForAnUnknownSession) {
    EXPECT_EQ(client.get(url("/sign-in?session=unknown")).status, 404);
    EXPECT_EQ(client.get(url("/sign-in")).status, 404);
    EXPECT_EQ(call("POST", "/sign-in", {}, "session=unknown&email=a%40b").status, 404);
}

TEST_F(Service, AsksAgainForABadEmailAddressAndEscapesIt) {
    const std::string loginURL =
        dataOf(login("provider=google&redirect=false&scheme=zantiq")).at("login_url");
    const std::string session = loginURL.substr(loginURL.find("session="));
    const Outcome outcome = call("POST", "/sign-in", {}, session + "&email=%22%3E%3Cscript%3E");
    EXPECT_EQ(outcome.status, 422);
    EXPECT_THAT(outcome.body, HasSubstr("value=\"&quot;&gt;&lt;script&gt;\""));
    EXPECT_THAT(outcome.body, HasSubstr("role=\"alert\""));
    EXPECT_THAT(outcome.body, Not(HasSubstr("<script>")));
}

TEST_F(Service, ExchangesNoUnknownCodes) {
    for (const std::string query : {"", "code=a", "code2=b", "code=a&code2=b", "code=&code2="}) {
        SCOPED_TRACE(query);
        expectRefusal(call("POST", "/api/desktop/v2/token?" + query, {}, ""), 400);
    }
}

TEST_F(Service, DescribesTheUserOfAKnownToken) {
    EXPECT_EQ(call("GET", "/api/session/user_info?", {bearer}).body,
              R"({"data":{"email":"ada@example.com","name":"Ada Example"}})");
}

TEST_F(Service, WantsAKnownToken) {
    for (const std::string header : {"Authorization;", "Authorization: Bearer unknown",
                                     "Authorization: bearer known", "Authorization: known"}) {
        SCOPED_TRACE(header);
        const Outcome outcome = call("GET", "/api/session/user_info?", {header});
        expectRefusal(outcome, 401);
        EXPECT_EQ(outcome.header("WWW-Authenticate"), "Bearer");
        expectRefusal(target({header, jsonType}, R"({"file_name":"a.pdf"})"), 401);
    }
}

TEST_F(Service, GivesAnUploadTarget) {
    const auto data = dataOf(target({bearer, jsonType}, R"({"file_name":"a.pdf"})"));
    EXPECT_EQ(data.at("type"), "url");
    EXPECT_EQ(data.at("method"), "PUT");
    EXPECT_THAT(data.at("url").get<std::string>(), StartsWith(url("/uploads/")));
}

TEST_F(Service, GivesNoUploadTargetForABadRequest) {
    const std::string good = R"({"file_name":"a.pdf"})";
    expectRefusal(target({bearer, "Content-Type: text/plain"}, good), 415);
    expectRefusal(target({bearer, jsonType}, ""), 400);
    expectRefusal(target({bearer, jsonType}, "{\"file_name\":\"\xff\"}"), 400);
    for (const std::string body : {"{}", "[]", R"({"file_name":1})", R"({"File_name":"a"})"}) {
        SCOPED_TRACE(body);
        expectRefusal(target({bearer, jsonType}, body), 422);
    }
}

TEST_F(Service, GivesBackWhatWasUploaded) {
    const std::string place =
        dataOf(target({bearer, jsonType}, R"({"file_name":"a.pdf"})")).at("url");
    expectRefusal(client.get(place), 404);
    const std::string content("%PDF\0\xff", 6);
    EXPECT_EQ(client.perform({.method = "PUT", .url = place, .body = content}).status, 201);
    const Outcome outcome = client.get(place);
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.header("Content-Type"), "application/octet-stream");
    EXPECT_EQ(outcome.body, content);
    expectRefusal(client.perform({.method = "DELETE", .url = place}), 405);
}

TEST_F(Service, TakesNoUploadWithoutATarget) {
    expectRefusal(call("PUT", "/uploads/unknown", {}, "content"), 404);
}
