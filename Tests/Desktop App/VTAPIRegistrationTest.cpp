// The service client's four registration operations, against a real HTTPS service.

#include "Simulator.h"
#include "Support/WorldAuthority.h"
#include "VTAPI.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <tuple>

using platform::Data;
using platform::encodeUTF8;
using platform::Error;
using platform::JSONValue;
using platform::URL;
using simulator::Answer;
using simulator::Simulator;
using simulator::Wire;
using testing::ElementsAre;

namespace {

constexpr const char* contactText = "An error occurred while attempting to contact the server";
constexpr const char* unexpectedText = "An unexpected error occured.";
constexpr const char* unexpectedExchangeText = "An unexpected error occured";

constexpr const char* listingPath = "/api/mobile/v2/registration_servers";
constexpr const char* loginPath = "/api/desktop/v2/login";
constexpr const char* tokenPath = "/api/desktop/v2/token";
constexpr const char* userInfoPath = "/api/session/user_info";

/// What a handler was called with, and where. A second call throws, which ends the test program.
template <typename... Values>
class Result {
public:
    auto handler() {
        return [promise = promise_](std::optional<Values>... values, std::optional<Error> error) {
            promise->set_value(
                {std::move(values)..., std::move(error), std::this_thread::get_id()});
        };
    }

    std::tuple<std::optional<Values>..., std::optional<Error>> get() {
        auto whole = promise_->get_future().get();
        EXPECT_NE(std::get<std::thread::id>(whole), std::this_thread::get_id());
        return std::apply(
            [](auto&&... values) {
                return std::tuple_cat(dropThread(std::forward<decltype(values)>(values))...);
            },
            std::move(whole));
    }

private:
    template <typename Value>
    static auto dropThread(Value&& value) {
        if constexpr (std::is_same_v<std::decay_t<Value>, std::thread::id>)
            return std::tuple<>();
        else
            return std::tuple<std::decay_t<Value>>(std::forward<Value>(value));
    }

    using Whole = std::tuple<std::optional<Values>..., std::optional<Error>, std::thread::id>;
    std::shared_ptr<std::promise<Whole>> promise_ = std::make_shared<std::promise<Whole>>();
};

using Listing = std::vector<VTAPI::ServerEntry>;

class VTAPIRegistrationTest : public testing::Test {
protected:
    VTAPI api() const { return VTAPI::APIWithServer(simulator_.server()); }

    auto listing() {
        Result<Listing> result;
        api().obtainServerListingWithCompletionHandler(result.handler());
        return result.get();
    }

    auto login(const std::optional<std::string>& provider) {
        Result<std::string, URL> result;
        api().requestLoginURLDataForProvider(provider, result.handler());
        return result.get();
    }

    auto exchange(const std::optional<std::string>& code1,
                  const std::optional<std::string>& code2) {
        Result<std::string> result;
        api().attemptTokenExchangeWithCode1(code1, code2, result.handler());
        return result.get();
    }

    auto userInfo(const Data& token) {
        Result<JSONValue> result;
        api().obtainUserInfoUsingToken(token, result.handler());
        return result.get();
    }

    void answer(const char* path, const std::string& body, int status = 200) {
        Answer scripted;
        scripted.body = body;
        scripted.status = status;
        simulator_.answer(path, scripted);
    }

    void breakOff(const char* path) {
        Answer scripted;
        scripted.wire = Wire::ResetBeforeAnswer;
        simulator_.answer(path, scripted);
    }

    static void expectError(const std::optional<Error>& error, const std::string& text) {
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain(), "com.norvale.tessor.api");
        EXPECT_EQ(error->code(), 4097);
        EXPECT_EQ(error->localizedDescription(), text);
    }

    static void expectOwnError(const std::optional<Error>& error, const std::string& text) {
        expectError(error, text);
        EXPECT_EQ(error->underlyingError(), nullptr);
    }

    simulator::RecordedRequest onlyRequest() const {
        const auto requests = simulator_.requests();
        EXPECT_EQ(requests.size(), 1U);
        return requests.at(0);
    }

    static void expectVersionHeaderAlone(const simulator::RecordedRequest& request) {
        EXPECT_THAT(request.values("x-veltora-client-version"), ElementsAre("macos-8.114.511.0"));
        EXPECT_FALSE(request.value("Content-Type"));
        EXPECT_FALSE(request.value("Authorization"));
        EXPECT_EQ(request.body, "");
    }

    Simulator simulator_{worldAuthority()};
};

} // namespace

TEST_F(VTAPIRegistrationTest, AsksForTheListingWithAnEmptyQuery) {
    listing();
    EXPECT_EQ(onlyRequest().method, "GET");
    EXPECT_EQ(onlyRequest().target, "/api/mobile/v2/registration_servers?");
    expectVersionHeaderAlone(onlyRequest());
}

TEST_F(VTAPIRegistrationTest, ListsTheServersInTheOrderOfTheAnswer) {
    answer(listingPath,
           R"({"data":{"servers":{"Zeta":"z.example","Alpha":"a.example:8443","Mid":""}}})");
    const auto [servers, error] = listing();
    EXPECT_FALSE(error);
    EXPECT_EQ(servers, (Listing{{{"code", "Zeta"}, {"address", "z.example"}},
                                {{"code", "Alpha"}, {"address", "a.example:8443"}},
                                {{"code", "Mid"}, {"address", ""}}}));
}

TEST_F(VTAPIRegistrationTest, LeavesOutAServerWhoseAddressIsNotAString) {
    answer(listingPath, R"({"data":{"servers":{"A":1,"B":"b.example","C":null,"D":["d"]}}})");
    EXPECT_EQ(std::get<0>(listing()), (Listing{{{"code", "B"}, {"address", "b.example"}}}));
}

TEST_F(VTAPIRegistrationTest, TakesAListingWithoutServersForAnEmptyList) {
    answer(listingPath, R"({"data":{"servers":{}}})");
    const auto [servers, error] = listing();
    EXPECT_EQ(servers, Listing{});
    EXPECT_FALSE(error);
}

TEST_F(VTAPIRegistrationTest, FailsWithoutAListing) {
    for (const char* const body :
         {R"({})", R"({"data":{}})", R"({"data":[]})", R"({"data":{"servers":null}})",
          R"({"data":{"servers":["a"]}})", R"({"data":{"servers":"a"}})", "[]"}) {
        answer(listingPath, body, 500);
        const auto [servers, error] = listing();
        EXPECT_FALSE(servers) << body;
        expectOwnError(error, unexpectedText);
    }
}

TEST_F(VTAPIRegistrationTest, AsksForTheLoginURLOfTheProvider) {
    for (const std::string provider : {"google", "microsoft"}) {
        simulator_.forgetRequests();
        const auto [code, url, error] = login(provider);
        EXPECT_TRUE(code);
        EXPECT_TRUE(url);
        EXPECT_FALSE(error);
        EXPECT_EQ(onlyRequest().method, "GET");
        EXPECT_EQ(onlyRequest().target, "/api/desktop/v2/login?provider=" + provider +
                                            "&redirect=false&scheme=printdriverregistration");
        expectVersionHeaderAlone(onlyRequest());
    }
}

TEST(VTAPIRegistrationScheme, DependsOnTheServersName) {
    const simulator::Authority authority = worldAuthority();
    for (const auto& [host, scheme] : std::map<std::string, std::string>{
             {"prezantiqpost.ardentra.example", "zantiq"},
             {"ZANTIQ.ardentra.example", "printdriverregistration"}}) {
        Simulator::Options options;
        options.hostNames = {host};
        Simulator server(authority, options);
        Result<std::string, URL> result;
        VTAPI::APIWithServer(server.server())
            .requestLoginURLDataForProvider("google", result.handler());
        result.get();
        ASSERT_EQ(server.requests().size(), 1U) << host;
        EXPECT_THAT(server.requests().at(0).target, testing::EndsWith("&scheme=" + scheme));
    }
}

TEST_F(VTAPIRegistrationTest, YieldsCodeAndLoginURLAsTheAnswerHoldsThem) {
    answer(loginPath, R"({"data":{"code":"","login_url":"HTTPS://Sign.example/?a=%20b#c"}})");
    const auto [code, url, error] = login("google");
    EXPECT_EQ(code, "");
    EXPECT_EQ(url->absoluteString(), "HTTPS://Sign.example/?a=%20b#c");
    EXPECT_FALSE(error);
}

TEST_F(VTAPIRegistrationTest, FailsWithoutCodeOrWellFormedLoginURL) {
    for (const char* const body :
         {R"({})", R"({"data":{}})", R"({"data":{"code":"c"}})",
          R"({"data":{"login_url":"https://s.example/"}})",
          R"({"data":{"code":1,"login_url":"https://s.example/"}})",
          R"({"data":{"code":"c","login_url":null}})", R"({"data":{"code":"c","login_url":""}})",
          R"({"data":{"code":"c","login_url":"https://s.example/a b"}})",
          R"({"data":{"code":"c","login_url":"https://s.example/<a>"}})",
          R"({"data":{"code":"c","login_url":"https://s.example/\u00fc"}})"}) {
        answer(loginPath, body);
        const auto [code, url, error] = login("google");
        EXPECT_FALSE(code) << body;
        EXPECT_FALSE(url) << body;
        expectOwnError(error, unexpectedText);
    }
}

TEST_F(VTAPIRegistrationTest, SendsNothingWithoutAProvider) {
    expectOwnError(std::get<2>(login(std::nullopt)), unexpectedText);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPIRegistrationTest, PostsBothCodesInTheQueryWithoutABody) {
    answer(tokenPath, R"({"data":{"token":"t"}})");
    const auto [token, error] = exchange("a&b=c d", "\xc3\xbc/+");
    EXPECT_EQ(token, "t");
    EXPECT_FALSE(error);
    EXPECT_EQ(onlyRequest().method, "POST");
    EXPECT_EQ(onlyRequest().target, "/api/desktop/v2/token?code=a%26b%3Dc%20d&code2=%C3%BC%2F%2B");
    EXPECT_EQ(onlyRequest().value("Content-Length"), "0");
    expectVersionHeaderAlone(onlyRequest());
}

TEST_F(VTAPIRegistrationTest, FailsWithoutAToken) {
    for (const char* const body : {R"({})", R"({"data":{}})", R"({"data":{"token":null}})",
                                   R"({"data":{"token":1}})", R"({"error":{"message":"used"}})"}) {
        answer(tokenPath, body, 401);
        const auto [token, error] = exchange("1", "2");
        EXPECT_FALSE(token) << body;
        expectOwnError(error, unexpectedExchangeText);
    }
}

TEST_F(VTAPIRegistrationTest, ExchangesNothingWithoutBothCodes) {
    expectOwnError(std::get<1>(exchange(std::nullopt, "2")), unexpectedExchangeText);
    expectOwnError(std::get<1>(exchange("1", std::nullopt)), unexpectedExchangeText);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPIRegistrationTest, AsksForTheUserInformationWithTheToken) {
    simulator_.acceptToken("token-1");
    const auto [info, error] = userInfo(encodeUTF8("token-1"));
    EXPECT_FALSE(error);
    EXPECT_EQ(info->member("email")->string(), "ada@example.com");
    EXPECT_EQ(onlyRequest().method, "GET");
    EXPECT_EQ(onlyRequest().target, "/api/session/user_info?");
    EXPECT_THAT(onlyRequest().values("Content-Type"), ElementsAre("application/json"));
    EXPECT_THAT(onlyRequest().values("Authorization"), ElementsAre("Bearer token-1"));
    EXPECT_THAT(onlyRequest().values("x-veltora-client-version"), ElementsAre("macos-8.114.511.0"));
    EXPECT_EQ(onlyRequest().body, "");
}

TEST_F(VTAPIRegistrationTest, TakesEmptyUserInformationForASuccess) {
    answer(userInfoPath, R"({"data":{}})");
    const auto [info, error] = userInfo(encodeUTF8("t"));
    ASSERT_TRUE(info);
    EXPECT_TRUE(info->members().empty());
    EXPECT_FALSE(error);
}

TEST_F(VTAPIRegistrationTest, FailsWithoutUserInformation) {
    for (const char* const body : {R"({})", R"({"data":null})", R"({"data":[]})", R"({"data":"x"})",
                                   R"({"error":{"message":"expired"}})"}) {
        answer(userInfoPath, body, 401);
        const auto [info, error] = userInfo(encodeUTF8("t"));
        EXPECT_FALSE(info) << body;
        expectOwnError(error, unexpectedText);
    }
}

TEST_F(VTAPIRegistrationTest, AsksForNothingWithATokenThatCannotStandInAHeader) {
    expectOwnError(std::get<1>(userInfo(encodeUTF8("a\r\nX-Injected: 1"))), unexpectedText);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPIRegistrationTest, HandsTheTransportsFailuresOnUnchanged) {
    for (const char* const path : {listingPath, loginPath, tokenPath, userInfoPath})
        breakOff(path);
    expectError(std::get<1>(listing()), contactText);
    expectError(std::get<2>(login("google")), contactText);
    expectError(std::get<1>(exchange("1", "2")), contactText);
    expectError(std::get<1>(userInfo(encodeUTF8("t"))), contactText);
}

TEST_F(VTAPIRegistrationTest, HandsUnreadableAnswersOnUnchanged) {
    for (const char* const path : {listingPath, loginPath, tokenPath, userInfoPath})
        answer(path, "<html>", 502);
    expectError(std::get<1>(listing()), "Server is not responding");
    expectError(std::get<2>(login("google")), "Server is not responding");
    expectError(std::get<1>(exchange("1", "2")), "Server is not responding");
    expectError(std::get<1>(userInfo(encodeUTF8("t"))), "Server is not responding");
}
