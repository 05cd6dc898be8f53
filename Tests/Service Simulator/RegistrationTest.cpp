#include "SimulatorTest.h"

#include <gmock/gmock.h>

using testing::MatchesRegex;
using testing::StartsWith;

namespace {

/// The road of a registration, step by step.
class Registration : public SimulatorTest {
protected:
    struct Login {
        std::string code;
        std::string url;
    };

    Login login() {
        const auto data = dataOf(call("GET", "/api/desktop/v2/login?provider=google&redirect=false"
                                             "&scheme=printdriverregistration"));
        return {data.at("code"), data.at("login_url")};
    }

    static std::string callbackCode(const Outcome& outcome) {
        const std::string start = "printdriverregistration://desktop_registration?code=";
        const std::string location = outcome.header("Location").value_or("");
        EXPECT_EQ(outcome.status, 303);
        EXPECT_THAT(location, StartsWith(start));
        return location.substr(std::min(start.size(), location.size()));
    }

    std::string signIn(const Login& login, const std::string& email) {
        const std::string session = login.url.substr(login.url.find("session="));
        return callbackCode(call("POST", "/sign-in", {}, session + "&email=" + email));
    }

    Outcome exchange(const std::string& code, const std::string& code2) {
        return call("POST", "/api/desktop/v2/token?code=" + code + "&code2=" + code2, {}, "");
    }
};

} // namespace

TEST_F(Registration, LeadsFromTheLoginToTheUpload) {
    const Login begun = login();
    const std::string code2 = signIn(begun, "grace%2Bprint%40example.com");
    EXPECT_THAT(code2, MatchesRegex("[0-9a-f]{32}"));
    const std::string token = dataOf(exchange(begun.code, code2)).at("token");
    const std::string bearer = "Authorization: Bearer " + token;
    EXPECT_EQ(dataOf(call("GET", "/api/session/user_info?", {bearer})).at("email"),
              "grace+print@example.com");
    const auto target =
        dataOf(call("POST", "/api/my_prints/v1/upload_target?",
                    {bearer, "Content-Type: application/json"}, R"({"file_name":"a.pdf"})"));
    const Outcome upload =
        client.perform({.method = target.at("method"), .url = target.at("url"), .body = "content"});
    EXPECT_EQ(upload.status, 201);
    EXPECT_EQ(client.get(target.at("url")).body, "content");
}

TEST_F(Registration, IsSentOnAtOnceWhenTheAddressSaysSo) {
    const Login begun = login();
    const std::string code2 = callbackCode(client.get(begun.url + "&auto=1"));
    EXPECT_EQ(exchange(begun.code, code2).status, 200);
}

TEST_F(Registration, IsSentOnAtOnceWhenTheSimulatorDoesSo) {
    simulator::Simulator automatic(authority, {.autoSignIn = true});
    const auto data = dataOf(
        client.perform({.url = "https://" + automatic.server() +
                               "/api/desktop/v2/login?provider=google&redirect=false&scheme=zantiq",
                        .headers = {versionHeader}}));
    const Outcome outcome = client.get(data.at("login_url"));
    EXPECT_EQ(outcome.status, 303);
    EXPECT_THAT(outcome.header("Location").value_or(""),
                StartsWith("zantiq://desktop_registration?code="));
}

TEST_F(Registration, ExchangesItsCodesOnce) {
    const Login begun = login();
    const std::string code2 = signIn(begun, "ada%40example.com");
    EXPECT_EQ(exchange(begun.code, code2).status, 200);
    expectRefusal(exchange(begun.code, code2), 400);
}

TEST_F(Registration, ExchangesNoCodesThatDoNotBelongTogether) {
    const Login first = login();
    const Login second = login();
    const std::string firstCode2 = signIn(first, "ada%40example.com");
    const std::string secondCode2 = signIn(second, "ada%40example.com");
    expectRefusal(exchange(first.code, secondCode2), 400);
    expectRefusal(exchange(second.code, firstCode2), 400);
    expectRefusal(exchange(firstCode2, first.code), 400);
    EXPECT_EQ(exchange(first.code, firstCode2).status, 200);
}

TEST_F(Registration, ExchangesNoCodesBeforeTheSignIn) {
    expectRefusal(exchange(login().code, ""), 400);
}
