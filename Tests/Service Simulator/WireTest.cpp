#include "SimulatorTest.h"

#include <gmock/gmock.h>

#include <thread>

using simulator::Wire;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* body = "0123456789";

/// How the faults look to a client.
class Wires : public SimulatorTest {
protected:
    Outcome get(Wire wire, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        service.answer("/x", {.body = body, .wire = wire});
        return client.perform({.url = url("/x"), .timeout = timeout});
    }

    Outcome getStalled(Wire wire) { return get(wire, std::chrono::milliseconds(300)); }

    static void expectReset(const Outcome& outcome) {
        EXPECT_EQ(outcome.code, CURLE_RECV_ERROR) << outcome.error;
        EXPECT_THAT(outcome.error, HasSubstr("reset by peer"));
    }

    /// The headers that came are whole, and say how long the body was to be.
    static void expectWholeHeaders(const Outcome& outcome) {
        EXPECT_EQ(outcome.header("Content-Length"), "10") << outcome.headers;
        EXPECT_THAT(outcome.headers, testing::EndsWith("\r\n\r\n"));
    }
};

} // namespace

TEST_F(Wires, AWholeAnswerIsWhole) {
    const Outcome outcome = get(Wire::Whole);
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.header("Content-Type"), "application/json");
    EXPECT_EQ(outcome.body, body);
    expectWholeHeaders(outcome);
}

TEST_F(Wires, AResetBeforeTheAnswerLeavesNoByte) {
    const Outcome outcome = get(Wire::ResetBeforeAnswer);
    expectReset(outcome);
    EXPECT_EQ(outcome.headers, "");
}

TEST_F(Wires, AResetInTheHeadersLeavesHalfOfThem) {
    const Outcome outcome = get(Wire::ResetInHeaders);
    expectReset(outcome);
    EXPECT_THAT(outcome.headers, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(outcome.headers, Not(HasSubstr("\r\n\r\n")));
}

TEST_F(Wires, AResetInTheBodyLeavesHalfOfIt) {
    const Outcome outcome = get(Wire::ResetInBody);
    expectReset(outcome);
    expectWholeHeaders(outcome);
    EXPECT_EQ(outcome.body, "01234");
}

TEST_F(Wires, AnOrderlyEndInTheBodyLeavesHalfOfIt) {
    const Outcome outcome = get(Wire::CloseInBody);
    EXPECT_EQ(outcome.code, CURLE_PARTIAL_FILE) << outcome.error;
    expectWholeHeaders(outcome);
    EXPECT_EQ(outcome.body, "01234");
}

TEST_F(Wires, ABodyThatIsToBeCutIsNeverEmpty) {
    for (const Wire wire : {Wire::ResetInBody, Wire::CloseInBody, Wire::TruncatedChunk}) {
        service.answer("/empty", {.wire = wire});
        EXPECT_NE(client.get(url("/empty")).code, CURLE_OK);
    }
}

TEST_F(Wires, AStallBeforeTheAnswerRunsIntoTheTimeOut) {
    const Outcome outcome = getStalled(Wire::StallBeforeAnswer);
    EXPECT_EQ(outcome.code, CURLE_OPERATION_TIMEDOUT) << outcome.error;
    EXPECT_EQ(outcome.headers, "");
}

TEST_F(Wires, AStallInTheHeadersLeavesHalfOfThem) {
    const Outcome outcome = getStalled(Wire::StallInHeaders);
    EXPECT_EQ(outcome.code, CURLE_OPERATION_TIMEDOUT) << outcome.error;
    EXPECT_THAT(outcome.headers, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(outcome.headers, Not(HasSubstr("\r\n\r\n")));
}

TEST_F(Wires, AStallInTheBodyLeavesHalfOfIt) {
    const Outcome outcome = getStalled(Wire::StallInBody);
    EXPECT_EQ(outcome.code, CURLE_OPERATION_TIMEDOUT) << outcome.error;
    expectWholeHeaders(outcome);
    EXPECT_EQ(outcome.body, "01234");
}

TEST_F(Wires, ADrippingAnswerIsWholeInTheEndAndSlow) {
    service.answer(
        "/x", {.body = body, .wire = Wire::Drip, .dripInterval = std::chrono::milliseconds(2)});
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = client.get(url("/x"));
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.body, body);
    const std::size_t bytes = outcome.headers.size() + outcome.body.size();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2) * (bytes - 1));
}

TEST_F(Wires, ATruncatedChunkIsNoWholeBody) {
    const Outcome outcome = get(Wire::TruncatedChunk);
    EXPECT_EQ(outcome.code, CURLE_PARTIAL_FILE) << outcome.error;
    EXPECT_EQ(outcome.header("Transfer-Encoding"), "chunked");
    EXPECT_EQ(outcome.body, "0123456");
}

TEST_F(Wires, AnEndlessBodyGoesOnUntilTheClientHasEnough) {
    const Outcome outcome = get(Wire::Endless);
    EXPECT_EQ(outcome.code, CURLE_WRITE_ERROR) << outcome.error;
    EXPECT_GT(outcome.body.size(), 1024U * 1024U);
    EXPECT_THAT(outcome.body, StartsWith(std::string(body) + "    "));
}

TEST_F(Wires, AnswerEveryRequestToTheirPathAndNoOther) {
    EXPECT_EQ(get(Wire::ResetBeforeAnswer).code, CURLE_RECV_ERROR);
    EXPECT_EQ(client.perform({.method = "POST", .url = url("/x?query"), .body = ""}).code,
              CURLE_RECV_ERROR);
    EXPECT_EQ(client.get(url("/x/y")).status, 404);
    service.answerNormally();
    EXPECT_EQ(client.get(url("/x")).status, 404);
}

TEST_F(Wires, AnAnswerForOnceIsTheNextOne) {
    service.answer("/x", {.status = 503});
    service.answerOnce("/x", {.status = 500});
    service.answerOnce("/x", {.status = 201});
    EXPECT_EQ(client.get(url("/x")).status, 500);
    EXPECT_EQ(client.get(url("/x")).status, 201);
    EXPECT_EQ(client.get(url("/x")).status, 503);
    EXPECT_EQ(client.get(url("/x")).status, 503);
}

TEST_F(Wires, ADelayedAnswerComesLate) {
    service.answer("/x", {.body = body, .delay = std::chrono::milliseconds(50)});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.get(url("/x")).body, body);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(Wires, ARedirectIsJustAStatusAndAHeader) {
    service.answer("/x", {.status = 308, .headers = {{"Location", "/x"}}});
    const Outcome outcome = client.get(url("/x"));
    EXPECT_EQ(outcome.status, 308);
    EXPECT_EQ(outcome.header("Location"), "/x");
}

TEST_F(Wires, ManyStalledConnectionsLeaveRoomForOthers) {
    service.answer("/x", {.wire = Wire::StallBeforeAnswer});
    std::vector<std::thread> stalled(20);
    for (std::thread& thread : stalled) {
        thread = std::thread([this] {
            Client another(authority);
            another.perform({.url = url("/x"), .timeout = std::chrono::milliseconds(500)});
        });
    }
    EXPECT_TRUE(service.waitForRequests(1, std::chrono::seconds(20)));
    EXPECT_EQ(client.get(url("/y")).status, 404);
    for (std::thread& thread : stalled) {
        thread.join();
    }
}
