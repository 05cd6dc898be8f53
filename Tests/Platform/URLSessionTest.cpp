#include "Platform/URLSession.h"

#include "LoadURL.h"
#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/SetVariable.h"
#include "Support/TemporaryFolder.h"
#include "Support/WaitUntil.h"
#include "Support/WorldAuthority.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <thread>

using namespace std::chrono_literals;
using platform::encodeUTF8;
using platform::URL;
using platform::URLRequest;
using platform::URLSession;
using platform::URLSessionConfiguration;
using simulator::Answer;
using simulator::BodyEncoding;
using simulator::Certificate;
using simulator::Simulator;
using simulator::Wire;

namespace {

// The transport library's own codes, which the log shows.
enum Code {
    UnsupportedProtocol = 1,
    CannotResolveHost = 6,
    CannotConnect = 7,
    PartialFile = 18,
    TimedOut = 28,
    TooManyRedirects = 47,
    ReceiveFailed = 56,
    CertificateRefused = 60,
    WriteFailed = 23,
};

URLSessionConfiguration shortTimeout() {
    URLSessionConfiguration configuration;
    configuration.timeoutIntervalForRequest = 300ms;
    return configuration;
}

class URLSessionTest : public testing::Test {
protected:
    std::string url(const std::string& path = "/page") const {
        return "https://" + simulator_.server() + path;
    }

    URLRequest post(const std::string& path, const std::string& body) const {
        URLRequest request = URLRequest::requestWithURL(*URL::URLWithString(url(path)));
        request.setHTTPMethod("POST");
        request.setHTTPBody(encodeUTF8(body));
        request.setValue("application/json", "Content-Type");
        request.setValue("Bearer secret", "Authorization");
        return request;
    }

    Outcome loadAnswered(Answer answer, URLSessionConfiguration configuration = {}) {
        simulator_.answer("/page", std::move(answer));
        return load(url(), configuration);
    }

    static Answer redirect(int status, const std::string& location) {
        Answer answer;
        answer.status = status;
        answer.headers = {{"Location", location}};
        return answer;
    }

    static Answer withBody(const std::string& body,
                           BodyEncoding encoding = BodyEncoding::Identity) {
        Answer answer;
        answer.body = body;
        answer.encoding = encoding;
        return answer;
    }

    static Answer withWire(Wire wire) {
        Answer answer = withBody("some body to cut");
        answer.wire = wire;
        return answer;
    }

    simulator::Authority authority_ = worldAuthority();
    Simulator simulator_{authority_};
};

} // namespace

TEST_F(URLSessionTest, LoadsABodyOnABackgroundThread) {
    const Outcome outcome = loadAnswered(withBody("hello"));
    EXPECT_EQ(outcome.text(), "hello");
    EXPECT_NE(outcome.thread, std::this_thread::get_id());
}

TEST_F(URLSessionTest, SendsNoHeaderOfItsOwnThatTellsABodyWhereThereIsNone) {
    URLRequest request = URLRequest::requestWithURL(*URL::URLWithString(url("/page?")));
    request.setHTTPMethod("POST");
    simulator_.answer("/page", withBody("{}"));
    load(request);
    const auto received = simulator_.requests().at(0);
    EXPECT_EQ(received.target, "/page?");
    EXPECT_FALSE(received.value("Content-Type"));
    EXPECT_FALSE(received.value("Expect"));
    EXPECT_FALSE(received.value("Authorization"));
    EXPECT_FALSE(received.value("Cookie"));
    EXPECT_EQ(received.value("Content-Length"), "0");
}

TEST_F(URLSessionTest, KeepsNoCookie) {
    Answer answer = withBody("{}");
    answer.headers = {{"Set-Cookie", "a=b; Path=/"}};
    loadAnswered(answer);
    load(url());
    EXPECT_FALSE(simulator_.requests().at(1).value("Cookie"));
}

TEST_F(URLSessionTest, TurnsAPostIntoAGetOn301And302And303) {
    for (const int status : {301, 302, 303}) {
        simulator_.forgetRequests();
        simulator_.answer("/from", redirect(status, "/to"));
        simulator_.answer("/to", withBody("arrived"));
        EXPECT_EQ(load(post("/from", "{}")).text(), "arrived");
        const auto followed = simulator_.requests().at(1);
        EXPECT_EQ(followed.method, "GET") << status;
        EXPECT_EQ(followed.body, "") << status;
        EXPECT_EQ(followed.value("Authorization"), "Bearer secret") << "the same host";
    }
}

TEST_F(URLSessionTest, KeepsAPostOn307And308) {
    for (const int status : {307, 308}) {
        simulator_.forgetRequests();
        simulator_.answer("/from", redirect(status, "/to"));
        simulator_.answer("/to", withBody("arrived"));
        EXPECT_EQ(load(post("/from", "{\"a\":1}")).text(), "arrived");
        EXPECT_EQ(simulator_.requests().at(1).method, "POST") << status;
        EXPECT_EQ(simulator_.requests().at(1).body, "{\"a\":1}") << status;
    }
}

TEST_F(URLSessionTest, NeverSendsAuthorizationToAnotherHost) {
    Simulator other(authority_);
    other.answer("/to", withBody("arrived"));
    const std::string port = std::to_string(other.port());
    for (const std::string& host : {"localhost:" + port, "127.0.0.1:" + port}) {
        other.forgetRequests();
        simulator_.answer("/from", redirect(307, "https://" + host + "/to"));
        EXPECT_EQ(load(post("/from", "{}")).text(), "arrived");
        EXPECT_FALSE(other.requests().at(0).value("Authorization")) << host;
    }
}

TEST_F(URLSessionTest, FollowsNoRedirectToPlainHTTP) {
    EXPECT_EQ(loadAnswered(redirect(302, "http://localhost/")).code(), UnsupportedProtocol);
    EXPECT_EQ(loadAnswered(redirect(302, "file:///etc/passwd")).code(), UnsupportedProtocol);
}

TEST_F(URLSessionTest, FollowsTwentyRedirectsAndNoMore) {
    for (int i = 0; i < 20; ++i)
        simulator_.answer("/r" + std::to_string(i), redirect(302, "/r" + std::to_string(i + 1)));
    simulator_.answer("/r20", withBody("arrived"));
    EXPECT_EQ(load(url("/r0")).text(), "arrived");
    EXPECT_EQ(loadAnswered(redirect(302, "/page")).code(), TooManyRedirects);
}

TEST_F(URLSessionTest, UnderstandsChunkedAndCompressedAnswers) {
    const std::string body(100000, 'x');
    EXPECT_EQ(loadAnswered(withBody(body, BodyEncoding::Chunked)).text(), body);
    EXPECT_EQ(loadAnswered(withBody(body, BodyEncoding::Gzip)).text(), body);
}

TEST_F(URLSessionTest, LoadsAnAnswerThatDripsIn) {
    Answer answer = withBody("drop by drop");
    answer.wire = Wire::Drip;
    answer.dripInterval = 1ms;
    EXPECT_EQ(loadAnswered(answer).text(), "drop by drop");
}

TEST_F(URLSessionTest, LoadsSixteenMebibytesAndNoMore) {
    constexpr std::size_t limit = std::size_t{16} * 1024 * 1024;
    EXPECT_EQ(loadAnswered(withBody(std::string(limit, 'x'))).body->size(), limit);
    const Outcome outcome = loadAnswered(withBody(std::string(limit + 1, 'x')));
    EXPECT_EQ(outcome.code(), WriteFailed);
    EXPECT_EQ(outcome.words(), "The answer is larger than 16 MiB");
}

TEST_F(URLSessionTest, EndsAnEndlessAnswerAndACompressionBomb) {
    EXPECT_EQ(loadAnswered(withWire(Wire::Endless)).words(), "The answer is larger than 16 MiB");
    EXPECT_EQ(loadAnswered(withBody("{}", BodyEncoding::CompressionBomb)).words(),
              "The answer is larger than 16 MiB");
}

TEST_F(URLSessionTest, ReportsAResetAtEveryStage) {
    for (const Wire wire : {Wire::ResetBeforeAnswer, Wire::ResetInHeaders, Wire::ResetInBody}) {
        const Outcome outcome = loadAnswered(withWire(wire));
        EXPECT_EQ(outcome.code(), ReceiveFailed) << nameOf(wire) << ": " << outcome.words();
    }
}

TEST_F(URLSessionTest, ReportsABodyThatIsCutShort) {
    EXPECT_NE(loadAnswered(withWire(Wire::CloseInBody)).code(), 0);
    EXPECT_NE(loadAnswered(withWire(Wire::TruncatedChunk)).code(), 0);
}

TEST_F(URLSessionTest, GivesUpWhenNothingComesForTheTimeout) {
    for (const Wire wire : {Wire::StallBeforeAnswer, Wire::StallInHeaders, Wire::StallInBody}) {
        const Outcome outcome = loadAnswered(withWire(wire), shortTimeout());
        EXPECT_EQ(outcome.code(), TimedOut) << nameOf(wire) << ": " << outcome.words();
        EXPECT_FALSE(outcome.words().empty());
    }
}

TEST_F(URLSessionTest, WaitsAsLongAsSomethingComesWithinTheTimeout) {
    const std::string body(100, 'x');
    Answer answer = withBody(body);
    answer.wire = Wire::Drip;
    answer.dripInterval = 15ms; // more than the time-out in all
    URLSessionConfiguration configuration;
    configuration.timeoutIntervalForRequest = 1500ms;
    EXPECT_EQ(loadAnswered(answer, configuration).text(), body);
}

TEST_F(URLSessionTest, WaitsSixtySecondsUnlessToldOtherwise) {
    EXPECT_EQ(URLSessionConfiguration::ephemeralSessionConfiguration().timeoutIntervalForRequest,
              std::chrono::seconds(60));
}

TEST_F(URLSessionTest, RefusesEveryCertificateThatIsNotGood) {
    for (const Certificate certificate : {Certificate::Expired, Certificate::NotYetValid,
                                          Certificate::WrongHost, Certificate::UnknownAuthority}) {
        simulator_.presentCertificate(certificate);
        EXPECT_EQ(loadAnswered(withBody("secret")).code(), CertificateRefused);
    }
    EXPECT_TRUE(simulator_.requests().empty());
    simulator_.presentCertificate(Certificate::Good);
    EXPECT_EQ(loadAnswered(withBody("fine")).text(), "fine");
}

TEST_F(URLSessionTest, TellsACertificateAHostAndAConnectionApart) {
    simulator_.presentCertificate(Certificate::Expired);
    const Outcome certificate = load(url());
    EXPECT_NE(certificate.words().find("certificate has expired"), std::string::npos)
        << certificate.words();
    const Outcome host = load("https://nowhere.invalid/");
    EXPECT_EQ(host.code(), CannotResolveHost) << host.words();
    const Outcome refused = load("https://localhost:1/");
    EXPECT_EQ(refused.code(), CannotConnect) << refused.words();
    EXPECT_EQ(refused.error->domain(), "curl");
}

TEST_F(URLSessionTest, TrustsWhatTheVariablesNameAndNothingElse) {
    simulator_.answer("/page", withBody("trusted"));
    const TemporaryFolder folder;
    authority_.save(folder.path());
    const std::string directory = folder.path();
    const SetVariable noDirectory("SSL_CERT_DIR", "/var/empty");
    EXPECT_EQ(load(url()).code(), CertificateRefused);
    {
        const SetVariable file("SSL_CERT_FILE", directory + "/authority.pem");
        EXPECT_EQ(load(url()).text(), "trusted");
    }
    const SetVariable own("SSL_CERT_DIR", directory);
    EXPECT_EQ(load(url()).text(), "trusted");
}

TEST_F(URLSessionTest, LoadsOnlyHTTPS) {
    EXPECT_EQ(load("http://" + simulator_.server() + "/").code(), UnsupportedProtocol);
    EXPECT_EQ(load("file:///etc/hostname").code(), UnsupportedProtocol);
}

TEST_F(URLSessionTest, SpeaksHTTP2WhereItIsOffered) {
    const TemporaryFolder folder;
    const auto now = std::chrono::system_clock::now();
    const simulator::Identity identity = authority_.issue({{"localhost"}, now - 24h, now + 24h});
    std::ofstream(folder.path() / "key.pem") << identity.key;
    std::ofstream(folder.path() / "certificate.pem") << identity.certificate;
    std::ofstream(folder.path() / "page") << "over HTTP/2";
    constexpr const char* port = "8444";
    const ChildProcess server({{"nghttpd", "--htdocs=" + folder.path().string(), port,
                                folder.path() / "key.pem", folder.path() / "certificate.pem"}});

    // The server speaks nothing else, so an answer is proof.
    const std::string page = std::string("https://localhost:") + port + "/page";
    EXPECT_TRUE(waitUntil([&] { return load(page).code() != CannotConnect; }));
    EXPECT_EQ(load(page).text(), "over HTTP/2");
}

TEST_F(URLSessionTest, RunsManyRequestsAtOnce) {
    simulator_.answer("/page", withBody("one of many"));
    constexpr std::size_t count = 8;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        threads.emplace_back([&] { EXPECT_EQ(load(url()).text(), "one of many"); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(simulator_.requests().size(), count);
}

TEST_F(URLSessionTest, LetsTheProcessEndWithARequestUnderWay) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            Simulator stalling(worldAuthority());
            stalling.answer("/page", withWire(Wire::StallInBody));
            const std::string target = "https://" + stalling.server() + "/page";
            URLSession::sessionWithConfiguration({})
                .dataTaskWithRequest(URLRequest::requestWithURL(*URL::URLWithString(target)),
                                     [](const auto&, const auto&) { std::abort(); })
                .resume();
            stalling.waitForRequests(1, 10s);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}
