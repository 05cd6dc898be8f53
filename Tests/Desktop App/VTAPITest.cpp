#include "VTAPI.h"

#include "Simulator.h"
#include "Support/SetVariable.h"
#include "Support/WorldAuthority.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>

using namespace std::chrono_literals;
using platform::Data;
using platform::encodeUTF8;
using platform::Error;
using platform::JSONValue;
using simulator::Answer;
using simulator::Simulator;
using simulator::Wire;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* contactText = "An error occurred while attempting to contact the server";
constexpr const char* notRespondingText = "Server is not responding";
constexpr const char* notURLText =
    "The upload could not be completed because the upload destination is not a URL";
constexpr const char* incompleteText = "The upload could not be completed.";
constexpr const char* uploadPath = "/api/my_prints/v1/upload_target";

std::string urlText(const std::string& server,
                    const std::map<std::string, std::string>& query = {}) {
    const auto url = VTAPI::URLWithServer(server, "/api/path", query);
    return url ? url->absoluteString() : "no URL";
}

struct UploadTarget {
    std::optional<std::string> method;
    std::optional<std::string> url;
    std::optional<Error> error;
    std::thread::id thread;
};

/// A handler whose second call throws, so that it ends the test program.
std::pair<VTAPI::UploadTargetHandler, std::future<UploadTarget>> uploadTargetHandler() {
    const auto promise = std::make_shared<std::promise<UploadTarget>>();
    auto handler = [promise](std::optional<std::string> method, std::optional<std::string> url,
                             std::optional<Error> error) {
        promise->set_value(
            {std::move(method), std::move(url), std::move(error), std::this_thread::get_id()});
    };
    return {handler, promise->get_future()};
}

class VTAPITest : public testing::Test {
protected:
    UploadTarget obtain(const std::string& filename = "report.pdf",
                        const Data& token = encodeUTF8("token-1")) {
        return obtainFrom(simulator_.server(), filename, token);
    }

    static UploadTarget obtainFrom(const std::string& server,
                                   const std::string& filename = "report.pdf",
                                   const Data& token = encodeUTF8("token-1")) {
        auto [handler, result] = uploadTargetHandler();
        VTAPI::APIWithServer(server).obtainUploadTargetUsingToken(token, filename, handler);
        return result.get();
    }

    UploadTarget obtainAnswered(const std::string& body, int status = 200) {
        Answer answer;
        answer.status = status;
        answer.body = body;
        simulator_.answer(uploadPath, answer);
        return obtain();
    }

    UploadTarget obtainThrough(Wire wire) {
        Answer answer;
        answer.body = R"({"data":{}})";
        answer.wire = wire;
        simulator_.answer(uploadPath, answer);
        return obtain();
    }

    static void expectFailure(const UploadTarget& target, const std::string& text) {
        EXPECT_FALSE(target.method);
        EXPECT_FALSE(target.url);
        ASSERT_TRUE(target.error);
        EXPECT_EQ(target.error->domain(), "com.norvale.tessor.api");
        EXPECT_EQ(target.error->code(), 4097);
        EXPECT_EQ(target.error->localizedDescription(), text);
        EXPECT_NE(target.thread, std::this_thread::get_id());
    }

    static void expectSuccess(const UploadTarget& target) {
        EXPECT_FALSE(target.error) << target.error->description();
        EXPECT_TRUE(target.method);
        EXPECT_TRUE(target.url);
        EXPECT_NE(target.thread, std::this_thread::get_id());
    }

    void SetUp() override { simulator_.acceptToken("token-1"); }

    Simulator simulator_{worldAuthority()};
};

} // namespace

TEST(VTAPI, KnowsItsServerAndItsVersion) {
    const VTAPI api = VTAPI::APIWithServer("host.example:8443");
    EXPECT_EQ(api.server(), "host.example:8443");
    EXPECT_EQ(api.versionHeaderValue(), "macos-8.114.511.0");
}

TEST(VTAPIURL, TakesAServerWithoutAColonForTheHost) {
    EXPECT_EQ(urlText("host.example"), "https://host.example/api/path?");
}

TEST(VTAPIURL, ReadsThePortFromTheTextBehindTheColon) {
    EXPECT_EQ(urlText("h:8443"), "https://h:8443/api/path?");
    EXPECT_EQ(urlText("h:8443abc"), "https://h:8443/api/path?");
    EXPECT_EQ(urlText("h: \t+8443"), "https://h:8443/api/path?");
    EXPECT_EQ(urlText("h:007"), "https://h:7/api/path?");
}

TEST(VTAPIURL, TakesAPortWithoutDigitsForZero) {
    EXPECT_EQ(urlText("h:"), "https://h:0/api/path?");
    EXPECT_EQ(urlText("h:abc"), "https://h:0/api/path?");
    EXPECT_EQ(urlText("h:+-5"), "https://h:0/api/path?");
}

TEST(VTAPIURL, SplitsAtTheFirstColonOnly) {
    EXPECT_EQ(urlText("h:1:2"), "https://h:1/api/path?");
}

TEST(VTAPIURL, AlwaysEndsInAQuery) {
    EXPECT_EQ(VTAPI::URLWithServer("h", "/p")->absoluteString(), "https://h/p?");
    EXPECT_EQ(urlText("h", {{"a", "b c"}, {"d", "e&f=g"}}),
              "https://h/api/path?a=b%20c&d=e%26f%3Dg");
}

TEST(VTAPIURL, IsAbsentWhereNoneCanBeFormed) {
    for (const char* const server : {"", " ", "a b", "a/b", "/", "@", "a@b", "#", "a#b", ":8443",
                                     "h:-1", "h:65536", "h:99999999999999999999"})
        EXPECT_EQ(urlText(server), "no URL") << server;
}

TEST_F(VTAPITest, SendsTheUploadTargetRequestByteByByte) {
    expectSuccess(obtain());
    const auto request = simulator_.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/api/my_prints/v1/upload_target?");
    EXPECT_EQ(request.body, R"({"file_name":"report.pdf"})");
    EXPECT_THAT(request.values("Content-Type"), UnorderedElementsAre("application/json"));
    EXPECT_THAT(request.values("Authorization"), UnorderedElementsAre("Bearer token-1"));
    EXPECT_THAT(request.values("x-veltora-client-version"),
                UnorderedElementsAre("macos-8.114.511.0"));
    EXPECT_FALSE(request.value("Expect"));
    EXPECT_FALSE(request.value("Cookie"));
}

TEST_F(VTAPITest, SendsEveryFileNameUnharmed) {
    const std::map<std::string, std::string> bodies = {
        {R"(a "quoted" \ name)", R"({"file_name":"a \"quoted\" \\ name"})"},
        {"line\nbreak\ttab\x01\x7f", "{\"file_name\":\"line\\nbreak\\ttab\\u0001\x7f\"}"},
        {"\xf0\x9f\x96\xa8 gr\xc3\xbc\xc3\x9f.pdf",
         "{\"file_name\":\"\xf0\x9f\x96\xa8 gr\xc3\xbc\xc3\x9f.pdf\"}"},
        {"/home/user/dir/../file.pdf", R"({"file_name":"/home/user/dir/../file.pdf"})"},
        {"", R"({"file_name":""})"},
        {std::string(4096, 'n'), R"({"file_name":")" + std::string(4096, 'n') + "\"}"},
    };
    for (const auto& [filename, body] : bodies) {
        simulator_.forgetRequests();
        expectSuccess(obtain(filename));
        EXPECT_EQ(simulator_.requests().at(0).body, body);
    }
}

TEST_F(VTAPITest, YieldsMethodAndURLAsTheAnswerHoldsThem) {
    const UploadTarget target = obtainAnswered(
        R"({"data":{"type":"url","url":"no url: \u00fc","method":"put it","more":1},"x":null})");
    expectSuccess(target);
    EXPECT_EQ(target.method, "put it");
    EXPECT_EQ(target.url, "no url: \xc3\xbc");
}

TEST_F(VTAPITest, NeverLooksAtTheStatusOfAnAnswer) {
    for (const int status : {200, 201, 400, 401, 404, 500, 503})
        expectSuccess(
            obtainAnswered(R"({"data":{"type":"url","url":"u","method":"PUT"}})", status));
}

TEST_F(VTAPITest, FailsWhenTheDestinationIsNoURL) {
    for (const char* const body :
         {R"({"data":{"type":"URL","url":"u","method":"m"}})", R"({"data":{"url":"u"}})",
          R"({"data":{"type":"file","url":"u","method":"m"}})", R"({})", "[]", R"({"data":null})",
          R"({"data":"text"})", R"({"data":["url"]})", R"({"data":1})", R"({"data":{"type":null}})",
          R"({"data":{"type":1}})", R"({"data":{"type":["url"]}})",
          R"({"error":{"message":"not signed in"}})"}) {
        const UploadTarget target = obtainAnswered(body);
        expectFailure(target, notURLText);
        EXPECT_EQ(target.error->underlyingError(), nullptr) << body;
    }
}

TEST_F(VTAPITest, FailsWhenURLOrMethodIsMissing) {
    for (const char* const body :
         {R"({"data":{"type":"url","url":"u"}})", R"({"data":{"type":"url","method":"m"}})",
          R"({"data":{"type":"url","url":1,"method":"m"}})",
          R"({"data":{"type":"url","url":"u","method":null}})",
          R"({"data":{"type":"url","url":"u","method":{}}})"}) {
        const UploadTarget target = obtainAnswered(body);
        expectFailure(target, incompleteText);
        EXPECT_EQ(target.error->underlyingError(), nullptr) << body;
    }
}

TEST_F(VTAPITest, FailsWithTheParseErrorWhenTheAnswerIsNotJSON) {
    for (const char* const body : {"", "<html>Bad gateway</html>", "\"url\"", "1", "{\"data\":"}) {
        const UploadTarget target = obtainAnswered(body);
        expectFailure(target, notRespondingText);
        ASSERT_NE(target.error->underlyingError(), nullptr);
        EXPECT_EQ(target.error->underlyingError()->domain(), "JSON");
    }
}

TEST_F(VTAPITest, FailsWithTheTransportErrorWhenTheConnectionDoes) {
    for (const Wire wire : {Wire::ResetBeforeAnswer, Wire::ResetInHeaders, Wire::ResetInBody,
                            Wire::CloseInBody, Wire::Endless}) {
        const UploadTarget target = obtainThrough(wire);
        expectFailure(target, contactText);
        ASSERT_NE(target.error->underlyingError(), nullptr);
        EXPECT_EQ(target.error->underlyingError()->domain(), "curl");
    }
}

TEST_F(VTAPITest, FailsWithTheTransportErrorWhenTheServerCannotBeReached) {
    for (const char* const server : {"nowhere.invalid", "localhost:1", "localhost:0"})
        expectFailure(obtainFrom(server), contactText);
}

TEST_F(VTAPITest, FailsWithTheTransportErrorWhenTheCertificateIsBad) {
    simulator_.presentCertificate(simulator::Certificate::WrongHost);
    const UploadTarget target = obtain();
    expectFailure(target, contactText);
    EXPECT_EQ(target.error->underlyingError()->code(), 60);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPITest, FailsLikeTheTransportWhereNoURLCanBeFormed) {
    for (const char* const server : {"", " ", "a/b", "a@b", "a#b", ":1", "h:-1", "h:65536"}) {
        const UploadTarget target = obtainFrom(server);
        expectFailure(target, contactText);
        EXPECT_NE(target.error->underlyingError(), nullptr);
    }
}

TEST_F(VTAPITest, SendsNothingForAFileNameThatIsNotUTF8) {
    expectFailure(obtain("bad\xff.pdf"), incompleteText);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPITest, SendsNothingForATokenThatCannotStandInAHeader) {
    for (const std::string token : {"bad\xff", "a\r\nX-Injected: 1", "tab\t", "\x7f", "\xc2\x85"})
        expectFailure(obtain("report.pdf", encodeUTF8(token)), incompleteText);
    expectFailure(obtain("report.pdf", encodeUTF8(std::string("nul\0", 4))), incompleteText);
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(VTAPITest, NeverShowsTheTokenInAnError) {
    const Data token = encodeUTF8("secret-token");
    for (const Wire wire : {Wire::ResetInBody, Wire::TruncatedChunk}) {
        Answer answer;
        answer.body = R"({"data":{"token":"secret-token"}})";
        answer.wire = wire;
        simulator_.answer(uploadPath, answer);
        EXPECT_EQ(obtain("f", token).error->description().find("secret"), std::string::npos);
    }
    const UploadTarget target = obtainAnswered(R"({"token":"secret-token)");
    EXPECT_EQ(target.error->description().find("secret"), std::string::npos);
}

TEST_F(VTAPITest, ShowsItsErrorsInTheUsersLanguage) {
    const SetVariable language("LANGUAGE", "de");
    expectFailure(obtainAnswered("no JSON"), "Der Server antwortet nicht");
}

TEST_F(VTAPITest, SendsABareRequestWithTheVersionHeaderAlone) {
    for (const char* const method : {"GET", "POST"}) {
        simulator_.forgetRequests();
        Answer answer;
        answer.body = R"({"answer":"yes"})";
        simulator_.answer("/bare", answer);
        const VTAPI api = VTAPI::APIWithServer(simulator_.server());
        std::promise<std::optional<std::string>> result;
        api.performHTTPMethod(method, VTAPI::URLWithServer(api.server(), "/bare"),
                              [&](const std::optional<JSONValue>& json, const auto&) {
                                  result.set_value(json->member("answer")->string());
                              });
        EXPECT_EQ(result.get_future().get(), "yes");
        const auto request = simulator_.requests().at(0);
        EXPECT_EQ(request.method, method);
        EXPECT_EQ(request.target, "/bare?");
        EXPECT_EQ(request.body, "");
        EXPECT_THAT(request.values("x-veltora-client-version"),
                    UnorderedElementsAre("macos-8.114.511.0"));
        EXPECT_FALSE(request.value("Content-Type"));
        EXPECT_FALSE(request.value("Authorization"));
    }
}

TEST_F(VTAPITest, CallsTheHandlerAlsoWhenTheClientIsGone) {
    Answer answer;
    answer.delay = 100ms;
    answer.body = R"({"data":{"type":"url","url":"u","method":"PUT"}})";
    simulator_.answer(uploadPath, answer);
    auto [handler, result] = uploadTargetHandler();
    {
        const VTAPI api = VTAPI::APIWithServer(simulator_.server());
        api.obtainUploadTargetUsingToken(encodeUTF8("t"), "f", handler);
    }
    expectSuccess(result.get());
}

TEST_F(VTAPITest, RunsTwoRequestsAtOnce) {
    Answer answer;
    answer.body = R"({"data":{"type":"url","url":"u","method":"PUT"}})";
    simulator_.answer(uploadPath, answer);
    auto [first, firstResult] = uploadTargetHandler();
    auto [second, secondResult] = uploadTargetHandler();
    const VTAPI api = VTAPI::APIWithServer(simulator_.server());
    api.obtainUploadTargetUsingToken(encodeUTF8("t"), "1", first);
    api.obtainUploadTargetUsingToken(encodeUTF8("t"), "2", second);
    expectSuccess(firstResult.get());
    expectSuccess(secondResult.get());
}
