#include "SimulatorTest.h"

#include <gmock/gmock.h>

#include <thread>

using simulator::Header;
using simulator::RecordedRequest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Recording = SimulatorTest;

std::vector<Header> withoutOnesOfTheClient(const RecordedRequest& request) {
    std::vector<Header> headers;
    for (const Header& header : request.headers) {
        if (header.first != "Accept" && header.first != "Accept-Encoding") {
            headers.push_back(header);
        }
    }
    return headers;
}

} // namespace

TEST_F(Recording, KeepsTheTargetAsItCame) {
    client.get(url("/a%20b/?"));
    client.get(url("/c?x=%41+&&y"));
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_EQ(requests[0].target, "/a%20b/?");
    EXPECT_EQ(requests[0].path(), "/a%20b/");
    EXPECT_EQ(requests[1].target, "/c?x=%41+&&y");
    EXPECT_EQ(requests[1].path(), "/c");
}

TEST_F(Recording, KeepsEveryHeaderInItsOrderAndAsItCame) {
    client.perform(
        {.url = url("/"), .headers = {"Zulu: %41+ b ", "alpha: 1", "Alpha:2", "Empty;"}});
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_THAT(withoutOnesOfTheClient(requests[0]),
                ElementsAre(Header("Host", service.server()), Header("Zulu", "%41+ b"),
                            Header("alpha", "1"), Header("Alpha", "2"), Header("Empty", "")));
    EXPECT_THAT(requests[0].values("ALPHA"), ElementsAre("1", "2"));
    EXPECT_EQ(requests[0].value("zulu"), "%41+ b");
    EXPECT_EQ(requests[0].value("beta"), std::nullopt);
}

TEST_F(Recording, KeepsTheBodyByteForByte) {
    const std::string body("a\0\r\n\r\n\xff", 7);
    client.perform({.method = "POST", .url = url("/"), .body = body});
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].body, body);
}

TEST_F(Recording, TakesTheFramingOffAChunkedBody) {
    client.perform({.method = "PUT",
                    .url = url("/"),
                    .headers = {"Transfer-Encoding: chunked"},
                    .body = std::string(100'000, 'x')});
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].body, std::string(100'000, 'x'));
}

TEST_F(Recording, TakesALargeBodyThatWaitsToBeAskedFor) {
    const std::string body(3'000'000, 'y');
    client.perform(
        {.method = "PUT", .url = url("/"), .headers = {"Expect: 100-continue"}, .body = body});
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].value("Expect"), "100-continue");
    EXPECT_EQ(requests[0].body, body);
}

TEST_F(Recording, TakesAnyMethod) {
    for (const char* method : {"DELETE", "OPTIONS", "PATCH"}) {
        EXPECT_EQ(client.perform({.method = method, .url = url("/")}).code, CURLE_OK);
        EXPECT_EQ(service.requests().back().method, method);
    }
}

TEST_F(Recording, TakesSeveralRequestsOnOneConnection) {
    EXPECT_EQ(client.get(url("/1")).connections, 1);
    EXPECT_EQ(client.get(url("/2")).connections, 0);
    EXPECT_THAT(service.requests(), SizeIs(2));
}

TEST_F(Recording, EndsTheConnectionWhenTheClientWantsThat) {
    const Outcome outcome = client.perform({.url = url("/"), .headers = {"Connection: close"}});
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.header("Connection"), "close");
    EXPECT_EQ(client.get(url("/")).connections, 1);
}

TEST_F(Recording, IsForgottenOnDemand) {
    client.get(url("/"));
    service.forgetRequests();
    EXPECT_THAT(service.requests(), IsEmpty());
}

TEST_F(Recording, CanBeWaitedFor) {
    EXPECT_FALSE(service.waitForRequests(1, std::chrono::milliseconds(1)));
    std::thread other([this] { client.get(url("/")); });
    EXPECT_TRUE(service.waitForRequests(1, std::chrono::seconds(20)));
    other.join();
    EXPECT_TRUE(service.waitForRequests(1, std::chrono::milliseconds(0)));
}

TEST_F(Recording, IsToldToTheObserverWithTheAnswer) {
    std::vector<std::string> seen;
    {
        simulator::Simulator observed(
            authority,
            {.observer = [&](const RecordedRequest& request, const simulator::Answer& answer) {
                seen.push_back(request.target + " " + std::to_string(answer.status));
            }});
        client.get("https://" + observed.server() + "/nothing?");
    }
    EXPECT_THAT(seen, ElementsAre("/nothing? 404"));
}

TEST_F(Recording, TakesAPostWithoutALength) {
    const Outcome outcome = client.perform({.method = "POST", .url = url("/")});
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].value("Content-Length"), std::nullopt);
    EXPECT_EQ(requests[0].body, "");
}

TEST_F(Recording, LeavesACompressedBodyAsItIs) {
    client.perform({.method = "PUT",
                    .url = url("/"),
                    .headers = {"Content-Encoding: gzip"},
                    .body = "not really compressed"});
    const auto requests = service.requests();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].body, "not really compressed");
}

TEST_F(Recording, RefusesWhatIsNoRequest) {
    EXPECT_EQ(client.perform({.method = "GET THIS", .url = url("/")}).status, 400);
    EXPECT_THAT(service.requests(), IsEmpty());
}
